#pragma once

#include <QString>

#include <optional>

namespace kopertal {

/// Says what is wrong with a command's arguments and where its help is. Returns the exit code.
int refuseUsage(const char* command, const QString& reason);

/// The same for what getopt_long() has just answered with ':' (no value) or '?', `found`.
int refuseOption(const char* command, int found, char** arguments);

/// Reads the options of a command that has --json and --help alone; what is left of the arguments
/// begins at getopt's `optind`. Or gives the exit code when there is nothing left to do.
std::optional<int> parseJsonOption(const char* command, const char* help, int count,
                                   char** arguments, bool& isJson);

} // namespace kopertal
