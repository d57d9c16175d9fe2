#include "app/ModuleEntry.h"
#include "app/http/LoadedHttpCarrier.h"
#include "net/HttpTransfers.h"

extern "C" Q_DECL_EXPORT kopertal::HttpCarrier*
kopertalHttpCarrier(const kopertal::HttpOptions& options);

kopertal::HttpCarrier* kopertalHttpCarrier(const kopertal::HttpOptions& options) {
    return new kopertal::HttpTransfers(options);
}

KOPERTAL_LATE_MODULE
