#pragma once

#include "scan/WorkerLimits.h"

#include <QString>

namespace kopertal {

/// Gives up, for good, what the recognition of a photo does not need: new privileges, the network,
/// opening files, starting programs; and bounds memory and processor time. What is loaded lazily
/// has to be loaded before. Nothing on success, else what the system refused.
QString enterSandbox(const WorkerLimits& limits = {});

/// Ends the process when nobody is left to read its standard output. Starts a thread.
void exitWithReader();

} // namespace kopertal
