#pragma once

#include "engine/AddressParsing.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace kopertal {

/// The recipients of a text that is being edited, kept up to date by parsing only the blocks that
/// an edit touched: the same recipients and skipped entries as a parse of the whole text gives.
class LiveRecipients {
public:
    /// What an edit did to recipients(): `removed` rows at `first` became `added` ones.
    struct Change {
        qsizetype first = 0;
        qsizetype removed = 0;
        qsizetype added = 0;
        bool warningsChanged = false;
    };

    /// A line of the text by its number.
    using LineAt = std::function<QString(qsizetype)>;

    /// Lines `first` to `first + removed` of the old text became `added` lines; `lineAt` reads the
    /// new text, which has `total` lines.
    Change replaceLines(qsizetype first, qsizetype removed, qsizetype added, qsizetype total,
                        const LineAt& lineAt);

    const QList<ParsedAddress>& recipients() const { return m_recipients; }
    const QStringList& warnings() const { return m_warnings; }

    /// User-perceived characters of the text, line feeds included.
    qsizetype characterCount() const { return m_characters + m_lines - 1; }

private:
    /// A run of lines that are all blank or all not: at most one recipient or one skipped entry.
    struct Run {
        qsizetype lines = 0;
        qsizetype characters = 0; // without line feeds
        bool isBlank = true;
        bool isRecipient() const { return !isBlank && lines > 1; }
        bool isWarning() const { return !isBlank && lines == 1; }
    };

    QList<Run> m_runs;
    QList<ParsedAddress> m_recipients;
    QStringList m_warnings;
    qsizetype m_characters = 0; // without line feeds
    qsizetype m_lines = 0;
};

} // namespace kopertal
