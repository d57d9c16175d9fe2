#include "app/http/LoadedHttpCarrier.h"
#include "net/HttpTransfers.h"

#include <QtGlobal>

extern "C" Q_DECL_EXPORT kopertal::HttpCarrier*
kopertalHttpCarrier(const kopertal::HttpOptions& options);

kopertal::HttpCarrier* kopertalHttpCarrier(const kopertal::HttpOptions& options) {
    return new kopertal::HttpTransfers(options);
}
