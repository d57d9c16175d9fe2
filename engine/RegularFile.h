#pragma once

class QFile;

namespace kopertal {

/// Opens the file for reading, a regular one or a resource of the program; waits for nothing.
/// Throws FileError for what is neither, a pipe or a device, and for what cannot be opened.
void openRegular(QFile& file);

} // namespace kopertal
