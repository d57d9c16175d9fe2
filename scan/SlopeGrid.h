#pragma once

#include <opencv2/core/mat.hpp>

namespace kopertal {

/// The directions of the edges in a picture, gathered in square cells: the mean products of the
/// slopes, against the cell's brightness squared, so that shadows do not matter. 32-bit floats, one
/// a cell.
struct SlopeGrid {
    cv::Mat xx;
    cv::Mat yy;
    cv::Mat xy;
};

/// `picture` is 8-bit grey; `cell` is in its pixels.
SlopeGrid slopeGrid(const cv::Mat& picture, int cell);

/// Every cell with the mean of the square of `window` cells around it.
SlopeGrid smoothed(const SlopeGrid& grid, int window);

} // namespace kopertal
