#pragma once

#include "app/printing/PrintWork.h"

namespace kopertal {

/// Prints through LibreOffice and CUPS. Only the pieces of the document that hold chosen pages are
/// rendered; the printer gets one PDF file of exactly these pages, so that page numbers, copies and
/// sets mean the same on every printer.
class RegisterPrinting : public PrintWork {
public:
    PrintSetup lookUp(const QString& document, const std::stop_token& stop) override;
    PrintResult print(const PrintOrder& order, const PrintProgress& progress,
                      const std::stop_token& stop) override;
};

} // namespace kopertal
