#include "scan/CellRegions.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kopertal {
namespace {

std::pair<float, float> spread(std::vector<float>& values, double cut) {
    const auto low = values.begin() + static_cast<ptrdiff_t>(cut * double(values.size()));
    const auto high = values.end() - 1 - (low - values.begin());
    std::nth_element(values.begin(), low, values.end());
    const float lowest = *low;
    std::nth_element(values.begin(), high, values.end());
    return {lowest, *high};
}

} // namespace

std::vector<std::vector<cv::Point>> connectedCells(const cv::Mat& mask, int fewest) {
    cv::Mat labels;
    cv::Mat stats;
    cv::Mat centres;
    const int count = cv::connectedComponentsWithStats(mask, labels, stats, centres);
    std::vector<std::vector<cv::Point>> parts;
    for (int label = 1; label < count; ++label) {
        const int* found = stats.ptr<int>(label);
        if (found[cv::CC_STAT_AREA] < fewest)
            continue;
        std::vector<cv::Point>& cells = parts.emplace_back();
        const int right = found[cv::CC_STAT_LEFT] + found[cv::CC_STAT_WIDTH];
        const int bottom = found[cv::CC_STAT_TOP] + found[cv::CC_STAT_HEIGHT];
        for (int y = found[cv::CC_STAT_TOP]; y < bottom; ++y) {
            const int* row = labels.ptr<int>(y);
            for (int x = found[cv::CC_STAT_LEFT]; x < right; ++x) {
                if (row[x] == label)
                    cells.emplace_back(x, y);
            }
        }
    }
    return parts;
}

CodeRegion boxAround(const std::vector<cv::Point>& cells, double angle, double cutAcross,
                     double cutAlong, float cellSize) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    std::vector<float> across(cells.size());
    std::vector<float> along(cells.size());
    for (size_t i = 0; i < cells.size(); ++i) {
        across[i] = static_cast<float>(cells[i].x * c + cells[i].y * s);
        along[i] = static_cast<float>(-cells[i].x * s + cells[i].y * c);
    }
    const auto [left, right] = spread(across, cutAcross);
    const auto [top, bottom] = spread(along, cutAlong);
    const double u = (left + right) / 2;
    const double v = (top + bottom) / 2;
    const cv::Point2f half(0.5F, 0.5F); // a cell's middle
    CodeRegion region;
    region.centre =
        (cv::Point2f(static_cast<float>(u * c - v * s), static_cast<float>(u * s + v * c)) + half) *
            cellSize -
        half;
    region.angle = static_cast<float>(angle);
    region.length = (right - left + 1) * cellSize;
    region.height = (bottom - top + 1) * cellSize;
    return region;
}

} // namespace kopertal
