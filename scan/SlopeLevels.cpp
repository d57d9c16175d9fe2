#include "scan/SlopeLevels.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace kopertal {
namespace {

struct Reduction {
    int longSide; ///< About; reduced by whole factors.
    int cell;
};

constexpr std::array reductions{Reduction{4000, 10}, Reduction{2000, 6}, Reduction{1000, 8}};

} // namespace

std::vector<SlopeLevel> slopeLevels(const cv::Mat& photo) {
    std::vector<SlopeLevel> levels;
    cv::Mat picture = photo;
    for (const Reduction& reduction : reductions) {
        picture = reduced(picture, reduction.longSide);
        SlopeGrid grid = slopeGrid(picture, reduction.cell);
        if (grid.xx.empty())
            break;
        const float scale = static_cast<float>(photo.cols) / static_cast<float>(picture.cols);
        levels.push_back(
            {picture, std::move(grid), reduction.cell, scale * static_cast<float>(reduction.cell)});
    }
    return levels;
}

cv::Mat reduced(const cv::Mat& picture, int longSide) {
    const int factor =
        static_cast<int>(std::lround(double(std::max(picture.cols, picture.rows)) / longSide));
    if (factor <= 1)
        return picture;
    cv::Mat result;
    cv::resize(picture, result, {picture.cols / factor, picture.rows / factor}, 0, 0,
               cv::INTER_AREA);
    return result;
}

} // namespace kopertal
