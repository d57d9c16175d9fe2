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

/// Makes the register in the background, under a free name in the save folder. The future always
/// has a result. Only a stop ends it early; a document is whole or not there.
QFuture<GenerationResult> startGeneration(GenerationOrder order, const std::stop_token& stop);

} // namespace kopertal
