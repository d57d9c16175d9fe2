#pragma once

#include "scan/CodeRegions.h"

#include <vector>

namespace kopertal {

/// Parts of a photo that may be two-dimensional codes, set straight along their edges. The clearest
/// first, many of them no code.
std::vector<CodeRegion> findMatrixRegions(const std::vector<SlopeLevel>& levels);

} // namespace kopertal
