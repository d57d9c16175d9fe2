#pragma once

#include "scan/CodeRegions.h"

#include <optional>

namespace kopertal {

/// The whole of the linear code that the region is a part of, or that is a part of the region: from
/// quiet zone to quiet zone and from the bars' upper to their lower ends. Nothing when too few bars
/// stand there for a code.
std::optional<CodeRegion> codeExtent(const cv::Mat& photo, const CodeRegion& region);

/// The part of the photo under the region, its bars upright: `size` samples, `margin` more of the
/// region's length on both sides.
cv::Mat straightened(const cv::Mat& photo, const CodeRegion& region, const cv::Size& size,
                     float margin = 0);

} // namespace kopertal
