#pragma once

#include <QString>

namespace kopertal {

/// What a command ends with.
enum ExitCode : int { done = 0, failed = 1, wrongUsage = 2 };

/// A line of a command's result, on standard output, in UTF-8. False when it could not be written.
bool printResult(const QString& line);

/// A line for the person at the keyboard, on standard error, in UTF-8; without control characters,
/// which a terminal would obey.
void printMessage(const QString& line);

} // namespace kopertal
