#pragma once

namespace kopertal {

/// The options and the text of "kopertal track --help".
extern const char* const trackHelp;

/// "kopertal track NUMBER…": asks the tracking service about all numbers at once. `arguments` begin
/// with the command's name. Returns the exit code; needs the application object, but no display.
int runTrack(int count, char** arguments);

} // namespace kopertal
