#pragma once

#include "scan/WorkerLimits.h"

namespace kopertal {

/// The recognition process: reads one photo from standard input, gives up its rights, and writes
/// its result to standard output, as an array of one JSON object. Whatever a library does to it,
/// abort included, it answers and ends in bounded time. Does not return.
[[noreturn]] void runPhotoWorker(const WorkerLimits& limits = {});

} // namespace kopertal
