#pragma once

#include <QString>

namespace kopertal {

/// Runs the program with its window; `file`, when not empty, is a file of addresses to begin with.
/// When the user's window is open already, it is raised and gets the file. Returns the exit code.
int runWindow(int& count, char** arguments, const QString& file);

} // namespace kopertal
