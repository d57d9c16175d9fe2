#pragma once

#include "scan/CodeRegions.h"
#include "scan/LineVotes.h"

#include <opencv2/core/mat.hpp>

#include <optional>

namespace kopertal {

/// The linear code in the given part of the photo: straightened, averaged along the bars, sharpened
/// and read line by line. Nothing when there is none that may be believed.
std::optional<LineReading> readLinearCode(const cv::Mat& photo, const CodeRegion& region);

} // namespace kopertal
