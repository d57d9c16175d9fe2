#pragma once

namespace kopertal {

/// Runs the program with its window; arguments[1], when there is one, names a file of addresses to
/// begin with. When the user's window is open already, it is raised and gets the file. Returns the
/// exit code.
int runWindow(int& count, char** arguments);

} // namespace kopertal
