#pragma once

#include <QJsonDocument>
#include <QString>

namespace kopertal {

/// What a command ends with.
enum ExitCode : int { done = 0, failed = 1, wrongUsage = 2 };

/// A line of a command's result, on standard output, in UTF-8. False when it could not be written.
bool printResult(const QString& line);

/// The same for JSON, compact. What a terminal would obey stands in it as an escape (\u009b).
bool printResult(const QJsonDocument& json);

/// `text` for a terminal, on one line: what it would obey, or take to reorder or hide other text
/// (control and format characters, line and paragraph separators), becomes a space.
QString onOneLine(const QString& text);

/// A line for the person at the keyboard, on standard error, in UTF-8; without such characters,
/// except tabs.
void printMessage(const QString& line);

} // namespace kopertal
