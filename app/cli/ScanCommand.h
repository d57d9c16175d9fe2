#pragma once

namespace kopertal {

/// "kopertal scan …": photos in, their numbers out. "kopertal scan --json -" is the process in
/// which photos are recognised, see scan/PhotoWorker.h. `arguments` begin with the command's name.
/// Returns the exit code; needs the application object, but no display.
int runScan(int count, char** arguments);

} // namespace kopertal
