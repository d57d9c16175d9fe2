#pragma once

namespace kopertal {

/// Whether the arguments ask for the log of the program's work (--verbose, anywhere before "--"),
/// which is taken out of them.
bool takeVerbose(int& count, char** arguments);

/// From now on every message of a category kopertal.* goes to standard error with its time of day.
/// They tell counts, sizes and durations, never what users work with. Other messages stay as they
/// are.
void startLog();

} // namespace kopertal
