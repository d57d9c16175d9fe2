#pragma once

namespace kopertal {

/// The options and the text of "kopertal serve --help".
extern const char* const serveHelp;

/// "kopertal serve …": takes photos from phones until it is interrupted. `arguments` begin with the
/// command's name. Returns the exit code; needs the application object, but no display.
int runServe(int count, char** arguments);

} // namespace kopertal
