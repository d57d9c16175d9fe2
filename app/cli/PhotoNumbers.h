#pragma once

#include <QString>

namespace kopertal {

struct PhotoResult;

/// Prints the photo's numbers, one a line, as a command's result; says under the photo's name why
/// there is none. False when a number could not be written.
bool printNumbers(const QString& photo, const PhotoResult& result);

} // namespace kopertal
