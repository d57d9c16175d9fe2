#pragma once

namespace kopertal {

/// Runs the program as a command: arguments[1] names it ("generate", "--help", …). Returns the exit
/// code. Makes the application object that commands need; no display is used.
int runCommandLine(int count, char** arguments);

/// Whether `argument` is the name of a command.
bool isCommand(const char* argument);

} // namespace kopertal
