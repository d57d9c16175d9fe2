#pragma once

#include "engine/AddressParsing.h"

#include <QDate>
#include <QFuture>

#include <stop_token>

namespace kopertal {

/// What a register is made of, taken at one moment.
struct GenerationOrder {
    QList<ParsedAddress> recipients;
    QString saveFolder;
    QString senderName;
    QString senderAddress;
    QDate date;
};

/// How it went: the document's path, or why there is none. Neither when it was stopped.
struct GenerationResult {
    QString document;
    QString error;
    qsizetype recipients = 0;
    qsizetype pages = 0;
};

/// What the module `register` exports as "kopertalGenerate": makes the register under a free name
/// in the save folder, blocks and never throws. `result` comes empty, and stays so when it is
/// stopped; a document is whole or not there.
using Generate = void(const GenerationOrder& order, const std::stop_token& stop,
                      GenerationResult& result);

/// Does so in the background, with the module that is loaded there and then: the window's first
/// picture needs no archives. The future always has a result.
QFuture<GenerationResult> startGeneration(GenerationOrder order, const std::stop_token& stop);

} // namespace kopertal
