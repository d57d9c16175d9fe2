#include "app/addresses/LiveRecipients.h"

#include "engine/Whitespace.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace kopertal {
namespace {

/// Grapheme clusters. Below U+0300 nothing combines but CR LF, and a line holds no line feed.
qsizetype characters(const QString& line) {
    constexpr char16_t firstCombining = 0x300;
    if (std::all_of(line.begin(), line.end(), [](QChar c) { return c.unicode() < firstCombining; }))
        return line.size();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, line);
    qsizetype count = 0;
    while (finder.toNextBoundary() >= 0)
        ++count;
    return count;
}

/// Replaces `removed` elements at `first` by `added`.
template <typename T>
void splice(QList<T>& list, qsizetype first, qsizetype removed, const QList<T>& added) {
    const qsizetype common = std::min(removed, added.size());
    std::copy_n(added.begin(), common, list.begin() + first);
    if (removed > common) {
        list.remove(first + common, removed - common);
    } else if (added.size() > common) {
        const qsizetype more = added.size() - common;
        list.insert(first + common, more, T());
        std::copy_n(added.begin() + common, more, list.begin() + first + common);
    }
}

} // namespace

LiveRecipients::Change LiveRecipients::replaceLines(qsizetype first, qsizetype removed,
                                                    qsizetype added, qsizetype total,
                                                    const LineAt& lineAt) {
    // The runs that the edit touches, and the one on each side, which it may join.
    qsizetype run = 0;
    qsizetype line = 0;
    Change change;
    qsizetype warningsBefore = 0;
    const auto skip = [&](const Run& passed) {
        line += passed.lines;
        change.first += passed.isRecipient();
        warningsBefore += passed.isWarning();
    };
    while (run < m_runs.size() && line + m_runs[run].lines < first)
        skip(m_runs[run++]);
    const qsizetype firstRun = run;
    const qsizetype firstLine = line;
    qsizetype endLine = line;
    qsizetype oldWarnings = 0;
    qsizetype oldCharacters = 0;
    while (run < m_runs.size() && endLine <= first + removed) {
        const Run& old = m_runs[run++];
        endLine += old.lines;
        change.removed += old.isRecipient();
        oldWarnings += old.isWarning();
        oldCharacters += old.characters;
    }
    const qsizetype newEnd = std::min(std::max(endLine, first + removed) + added - removed, total);

    QList<Run> runs;
    QString text;
    qsizetype newCharacters = 0;
    for (line = firstLine; line < newEnd; ++line) {
        const QString words = lineAt(line);
        const bool isBlank = trimmedHorizontally(words).isEmpty();
        if (runs.isEmpty() || runs.last().isBlank != isBlank)
            runs.append(Run{0, 0, isBlank});
        const qsizetype count = characters(words);
        ++runs.last().lines;
        runs.last().characters += count;
        newCharacters += count;
        text += words;
        text += u'\n';
    }
    const QList<ParsedAddress> recipients = parseAddresses(text);
    const QStringList warnings = skippedEntries(text);

    change.added = recipients.size();
    change.warningsChanged = m_warnings.mid(warningsBefore, oldWarnings) != warnings;
    splice(m_recipients, change.first, change.removed, recipients);
    if (change.warningsChanged)
        splice<QString>(m_warnings, warningsBefore, oldWarnings, warnings);
    splice(m_runs, firstRun, run - firstRun, runs);
    m_characters = m_characters - oldCharacters + newCharacters;
    m_lines += added - removed;
    return change;
}

} // namespace kopertal
