#pragma once

#include "scan/CodeRegions.h"

#include <vector>

namespace kopertal {

/// The connected parts of a mask of cells that have at least `fewest` cells.
std::vector<std::vector<cv::Point>> connectedCells(const cv::Mat& mask, int fewest);

/// The box of the given angle around the cells, in pixels of the photo; `cellSize` of them make one
/// cell. Of the outermost cells, the parts `cutAcross` and `cutAlong` do not count.
CodeRegion boxAround(const std::vector<cv::Point>& cells, double angle, double cutAcross,
                     double cutAlong, float cellSize);

} // namespace kopertal
