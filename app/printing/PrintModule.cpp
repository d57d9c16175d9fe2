#include "app/printing/LoadedPrintWork.h"
#include "app/printing/RegisterPrinting.h"

#include <QtGlobal>

extern "C" Q_DECL_EXPORT kopertal::PrintWork* kopertalPrintWork();

kopertal::PrintWork* kopertalPrintWork() {
    return new kopertal::RegisterPrinting;
}
