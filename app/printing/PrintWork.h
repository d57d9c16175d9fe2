#pragma once

#include "app/printing/PageRanges.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <stop_token>
#include <vector>

namespace kopertal {

/// What can be printed and where; `error` says why nothing can.
struct PrintSetup {
    QString error;
    bool isStopped = false;
    QStringList printers; // at least one without an error
    QString preferredPrinter;
    int pages = 0; // of the document; 0 when only the word processor can tell
};

struct PrintOrder {
    QString document;
    QString printer;
    int copies = 1;
    bool isCollated = true;       // whole sets one after another
    std::vector<PageRange> pages; // all when there is none
};

/// How it went: `error` is empty when the printer's queue has taken the job.
struct PrintResult {
    QString error;
    bool isStopped = false;
    int pages = 0; // sent
};

/// Pages of the document that are ready for the printer, of all that are needed; of 0 while nobody
/// knows how many.
using PrintProgress = std::function<void(int ready, int needed)>;

/// What prints registers. Both calls block, on any thread but the main one, never throw, and end
/// soon once `stop` is requested; what they start and write is gone when they return.
class PrintWork {
public:
    PrintWork() = default;
    PrintWork(const PrintWork&) = delete;
    PrintWork& operator=(const PrintWork&) = delete;
    virtual ~PrintWork() = default;

    virtual PrintSetup lookUp(const QString& document, const std::stop_token& stop) = 0;

    /// Sends the document as it stands in its file now. `progress` is called on this thread.
    virtual PrintResult print(const PrintOrder& order, const PrintProgress& progress,
                              const std::stop_token& stop) = 0;
};

} // namespace kopertal
