#pragma once

#include "app/printing/PrintWork.h"

#include <memory>

namespace kopertal {

/// What the module `print` exports as "kopertalPrintWork": the work, for the caller to own.
using MakePrintWork = PrintWork*();

/// The work out of the module `print`, which is loaded now and stays: few runs of the program
/// print. Without the module, every call answers with an error that says so.
std::unique_ptr<PrintWork> loadPrintWork();

} // namespace kopertal
