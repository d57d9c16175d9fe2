#pragma once

namespace kopertal {

/// The options and the text of "kopertal generate --help".
extern const char* const generateHelp;

/// "kopertal generate …": addresses in, a register out. `arguments` begin with the command's name.
/// Returns the exit code; needs the application object, but no display.
int runGenerate(int count, char** arguments);

} // namespace kopertal
