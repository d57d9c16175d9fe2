#pragma once

#include "scan/SlopeLevels.h"

#include <opencv2/core/types.hpp>

#include <vector>

namespace kopertal {

/// A part of a photo that looks like the bars of a linear code: many edges of one direction. All in
/// pixels of the photo.
struct CodeRegion {
    cv::Point2f centre;
    float angle = 0;  ///< Of the line across the bars, in radians, from the x axis towards y.
    float length = 0; ///< Across the bars.
    float height = 0; ///< Along the bars.
    float stroke = 0; ///< The usual width of a bar or space, where it is known: one to two modules.
};

/// The clearest first, many of them no code.
std::vector<CodeRegion> findCodeRegions(const std::vector<SlopeLevel>& levels);

bool isInside(const cv::Point2f& point, const CodeRegion& region);

/// The corners of the region, clockwise from the first.
std::vector<cv::Point2f> corners(const CodeRegion& region);

} // namespace kopertal
