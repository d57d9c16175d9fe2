#include "scan/SlopeGrid.h"

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <vector>

namespace kopertal {
namespace {

struct Sums {
    int xx = 0;
    int yy = 0;
    int xy = 0;
    int brightness = 0;
};

void addRow(const uchar* above, const uchar* row, const uchar* below, int cell,
            std::vector<Sums>& sums) {
    int x = 1;
    for (size_t i = 0; i < sums.size(); ++i) {
        Sums sum;
        const int end = static_cast<int>(i + 1) * cell;
        for (; x < end; ++x) {
            const int dx = row[x + 1] - row[x - 1];
            const int dy = below[x] - above[x];
            sum.xx += dx * dx;
            sum.yy += dy * dy;
            sum.xy += dx * dy;
            sum.brightness += row[x];
        }
        sums[i].xx += sum.xx;
        sums[i].yy += sum.yy;
        sums[i].xy += sum.xy;
        sums[i].brightness += sum.brightness;
    }
}

} // namespace

SlopeGrid slopeGrid(const cv::Mat& picture, int cell) {
    const cv::Size size((picture.cols - 1) / cell, (picture.rows - 1) / cell);
    if (size.empty())
        return {};
    SlopeGrid grid{cv::Mat(size, CV_32F), cv::Mat(size, CV_32F), cv::Mat(size, CV_32F)};
    const auto pixels = static_cast<float>(cell * cell);
    cv::parallel_for_({0, size.height}, [&](const cv::Range& range) {
        std::vector<Sums> sums;
        for (int y = range.start; y < range.end; ++y) {
            sums.assign(static_cast<size_t>(size.width), {});
            for (int row = std::max(1, y * cell); row < (y + 1) * cell; ++row)
                addRow(picture.ptr(row - 1), picture.ptr(row), picture.ptr(row + 1), cell, sums);
            for (int x = 0; x < size.width; ++x) {
                const Sums& sum = sums[static_cast<size_t>(x)];
                // Black is not infinitely rich in edges.
                const float brightness = static_cast<float>(sum.brightness) / pixels + 16;
                const float scale = 1 / (pixels * brightness * brightness);
                grid.xx.at<float>(y, x) = static_cast<float>(sum.xx) * scale;
                grid.yy.at<float>(y, x) = static_cast<float>(sum.yy) * scale;
                grid.xy.at<float>(y, x) = static_cast<float>(sum.xy) * scale;
            }
        }
    });
    return grid;
}

SlopeGrid smoothed(const SlopeGrid& grid, int window) {
    SlopeGrid result;
    cv::boxFilter(grid.xx, result.xx, -1, {window, window});
    cv::boxFilter(grid.yy, result.yy, -1, {window, window});
    cv::boxFilter(grid.xy, result.xy, -1, {window, window});
    return result;
}

} // namespace kopertal
