#pragma once

#include "app/printing/PrintWork.h"

#include <chrono>

namespace kopertal {

/// Printers of the network are asked for up to 5 s each way.
inline constexpr std::chrono::seconds lookUpPatience{20};
/// A job goes to the local queue.
inline constexpr std::chrono::seconds sendingPatience{60};

struct Printers {
    QStringList names;
    QString preferred; // the system's default; else the first
};

/// What CUPS can print on. Throws PrintError when that is nothing, says why and what to install;
/// Cancelled. Its program is asked twice, each time with that patience.
Printers findPrinters(const std::stop_token& stop,
                      std::chrono::milliseconds patience = lookUpPatience);

/// Hands a PDF file, which may go afterwards, to the order's printer as one job named `title`:
/// as it is, so `order.pages` are the file's already. Throws PrintError, Cancelled.
void sendToPrinter(const QString& pdf, const QString& title, const PrintOrder& order,
                   const std::stop_token& stop,
                   std::chrono::milliseconds patience = sendingPatience);

} // namespace kopertal
