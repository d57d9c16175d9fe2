#pragma once

#include "scan/CodeRegions.h"
#include "scan/ZXingReading.h"

#include <vector>

namespace kopertal {

/// The two-dimensional codes on a photo (8-bit grey), except where a linear code was read. Corners
/// are in its pixels.
std::vector<MatrixReading> findMatrixCodes(const cv::Mat& photo,
                                           const std::vector<SlopeLevel>& levels,
                                           const std::vector<CodeRegion>& linearCodes);

} // namespace kopertal
