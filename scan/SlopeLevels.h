#pragma once

#include "scan/SlopeGrid.h"

#include <vector>

namespace kopertal {

/// A photo reduced, and the edges in it: codes are of many sizes.
struct SlopeLevel {
    cv::Mat picture;
    SlopeGrid grid;
    int cell;       ///< The side of a cell, in pixels of the picture
    float cellSize; ///< and of the photo.
};

/// From the finest, for the labels on a page, to the coarsest, for single labels that fill the
/// frame. Those that would be smaller than a cell are left out. `photo` is 8-bit grey.
std::vector<SlopeLevel> slopeLevels(const cv::Mat& photo);

/// The picture reduced by a whole factor, to about that long side; the picture itself when it is
/// not much larger.
cv::Mat reduced(const cv::Mat& picture, int longSide);

} // namespace kopertal
