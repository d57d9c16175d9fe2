#pragma once

#include "scan/ZXingReading.h"

#include <vector>

namespace kopertal {

/// The two-dimensional codes on a photo (8-bit grey), with boxes in its pixels.
std::vector<MatrixReading> findMatrixCodes(const cv::Mat& photo);

} // namespace kopertal
