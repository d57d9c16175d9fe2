#pragma once

#include <cstddef>

namespace kopertal {

/// Raises the process's limit of open files as far as the system allows; never lowers it.
void raiseDescriptorLimit();

/// How many descriptors the process may open besides those it has open.
std::size_t freeDescriptors();

/// The same without a reserve for the process's other work, of few ones half. At least 1.
std::size_t spareDescriptors();

/// Whether the process may open another one just now.
bool canOpenDescriptor();

} // namespace kopertal
