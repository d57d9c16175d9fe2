#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

namespace kopertal {

/// One recipient of a register: the first line of a block of text and the lines below it.
struct ParsedAddress {
    QUuid id;          ///< Random, new at every parse.
    QString name;      ///< Never empty.
    QStringList lines; ///< At least one; none is empty.
};

/// The recipients of `text` in its order. Blocks are separated by blank lines; lines end at a line
/// feed and are trimmed horizontally. A block of one line is no recipient: skippedEntries() has it.
/// Never fails; time and memory are linear in the text.
QList<ParsedAddress> parseAddresses(const QString& text);

/// The line of every block that has exactly one, in the order of `text`. Never fails.
QStringList skippedEntries(const QString& text);

} // namespace kopertal
