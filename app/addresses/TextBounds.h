#pragma once

#include <QString>
#include <QStringView>

namespace kopertal {

/// What the editor takes, in UTF-16 units: with a text of this size (some 30 000 recipients) it
/// still answers at once, and takes it in within half a second. The command line takes more.
inline constexpr qsizetype maxEditorText = 2'000'000;

/// A line is laid out as a whole at every key press in it.
inline constexpr qsizetype maxEditorLine = 2'000;

/// Why the editor does not take `text` (with line feeds only) beside `kept` units that stay, in
/// words for the user; empty when it takes it.
QString editorRefusal(QStringView text, qsizetype kept);

} // namespace kopertal
