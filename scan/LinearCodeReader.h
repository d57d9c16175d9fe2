#pragma once

#include "scan/CodeRegions.h"
#include "scan/LineVotes.h"

#include <opencv2/core/mat.hpp>

#include <optional>

namespace kopertal {

struct LinearCode {
    LineReading reading;
    CodeRegion region; ///< Where it stands, from its first to its last bar.
};

/// The linear code in the given region: straightened, averaged along the bars, sharpened and read
/// line by line. Nothing when there is none that may be believed.
std::optional<LinearCode> readLinearCode(const cv::Mat& photo, const CodeRegion& region);

} // namespace kopertal
