#pragma once

#include <QString>

namespace kopertal {

/// Says what is wrong with a command's arguments and where its help is. Returns the exit code.
int refuseUsage(const char* command, const QString& reason);

/// The same for what getopt_long() has just answered with ':' (no value) or '?', `found`.
int refuseOption(const char* command, int found, char** arguments);

} // namespace kopertal
