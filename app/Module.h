#pragma once

namespace kopertal {

/// A job of the program: gets the arguments, which begin with the command's name (with the
/// program's for the window), and returns the exit code.
using ModuleRun = int (*)(int& count, char** arguments);

/// What the module `name` does. Every job of the program is a module of its own, found in
/// ../lib/kopertal beside the program's folder and loaded only for that job: what the window or the
/// recognition need would otherwise double the time that a short command takes. Null after a
/// message when the module cannot be loaded. Loaded modules stay until the process ends.
ModuleRun loadModule(const char* name);

} // namespace kopertal
