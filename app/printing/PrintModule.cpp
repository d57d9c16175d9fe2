#include "app/ModuleEntry.h"
#include "app/printing/LoadedPrintWork.h"
#include "app/printing/RegisterPrinting.h"

extern "C" Q_DECL_EXPORT kopertal::PrintWork* kopertalPrintWork();

kopertal::PrintWork* kopertalPrintWork() {
    return new kopertal::RegisterPrinting;
}

KOPERTAL_LATE_MODULE
