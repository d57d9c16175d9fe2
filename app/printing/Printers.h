#pragma once

#include "app/printing/PrintWork.h"

namespace kopertal {

struct Printers {
    QStringList names;
    QString preferred; // the system's default; else the first
};

/// What CUPS can print on. Throws PrintError when that is nothing, says why and what to install;
/// Cancelled.
Printers findPrinters(const std::stop_token& stop);

/// Hands a PDF file, which may go afterwards, to the order's printer as one job named `title`:
/// as it is, so `order.pages` are the file's already. Throws PrintError, Cancelled.
void sendToPrinter(const QString& pdf, const QString& title, const PrintOrder& order,
                   const std::stop_token& stop);

} // namespace kopertal
