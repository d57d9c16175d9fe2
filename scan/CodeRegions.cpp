#include "scan/CodeRegions.h"

#include "scan/SlopeGrid.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace kopertal {
namespace {

/// How a reduced picture is searched.
struct Search {
    int longSide; ///< About; reduced by whole factors.
    int cell;     ///< In pixels of the reduced picture.
};

/// Labels on a page; single labels that fill the frame.
constexpr std::array searches{Search{4000, 10}, Search{2000, 6}, Search{1000, 8}};
constexpr int window = 3; // cells over which directions are compared

/// Edges are strong in print and weak in shadow or blur: from strict to lenient, so that a code is
/// found alone before it is found together with the lines beside it.
constexpr std::array leastEdges{0.08F, 0.02F, 0.005F};
constexpr float leastCoherence = 0.5F; // 0: all directions; 1: one direction
constexpr float shortest = 4;          // cells across the bars
constexpr int opening = 5;             // cells; table lines are narrower

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

/// What noise alone gives: the energy of the calmer cells, paper mostly.
float noiseFloor(const cv::Mat& energy) {
    std::vector<float> values(energy.begin<float>(), energy.end<float>());
    const auto calm = values.begin() + static_cast<ptrdiff_t>(values.size() / 4);
    std::nth_element(values.begin(), calm, values.end());
    return *calm;
}

/// The energy of cells with one direction of edges; 0 where there are several.
cv::Mat coherentEnergy(const SlopeGrid& grid) {
    cv::Mat xx;
    cv::Mat yy;
    cv::Mat xy;
    cv::boxFilter(grid.xx, xx, -1, {window, window});
    cv::boxFilter(grid.yy, yy, -1, {window, window});
    cv::boxFilter(grid.xy, xy, -1, {window, window});
    const float noise = noiseFloor(xx + yy);
    cv::Mat energy(xx.size(), CV_32F);
    for (int row = 0; row < energy.rows; ++row) {
        const auto* a = xx.ptr<float>(row);
        const auto* b = yy.ptr<float>(row);
        const auto* c = xy.ptr<float>(row);
        auto* out = energy.ptr<float>(row);
        for (int i = 0; i < energy.cols; ++i) {
            const float sum = std::max(0.0F, a[i] + b[i] - noise);
            const float difference = a[i] - b[i];
            const float coherent = difference * difference + 4 * c[i] * c[i];
            out[i] = coherent > leastCoherence * leastCoherence * sum * sum ? sum : 0;
        }
    }
    return energy;
}

std::pair<float, float> spread(std::vector<float>& values, double cut) {
    const auto low = values.begin() + static_cast<ptrdiff_t>(cut * double(values.size()));
    const auto high = values.end() - 1 - (low - values.begin());
    std::nth_element(values.begin(), low, values.end());
    const float lowest = *low;
    std::nth_element(values.begin(), high, values.end());
    return {lowest, *high};
}

/// The direction and the extents of one connected part of the mask, in cells.
CodeRegion measure(const SlopeGrid& grid, const cv::Mat& labels, int label, const cv::Rect& box) {
    double xx = 0;
    double yy = 0;
    double xy = 0;
    std::vector<cv::Point> cells;
    for (int y = box.y; y < box.br().y; ++y) {
        const int* row = labels.ptr<int>(y);
        for (int x = box.x; x < box.br().x; ++x) {
            if (row[x] != label)
                continue;
            xx += grid.xx.at<float>(y, x);
            yy += grid.yy.at<float>(y, x);
            xy += grid.xy.at<float>(y, x);
            cells.emplace_back(x, y);
        }
    }
    const double angle = 0.5 * std::atan2(2 * xy, xx - yy);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    std::vector<float> across(cells.size());
    std::vector<float> along(cells.size());
    for (size_t i = 0; i < cells.size(); ++i) {
        across[i] = static_cast<float>(cells[i].x * c + cells[i].y * s);
        along[i] = static_cast<float>(-cells[i].x * s + cells[i].y * c);
    }
    const auto [left, right] = spread(across, 0.02);
    const auto [top, bottom] = spread(along, 0.05);
    const double u = (left + right) / 2;
    const double v = (top + bottom) / 2;
    CodeRegion region;
    region.centre =
        cv::Point2f(static_cast<float>(u * c - v * s), static_cast<float>(u * s + v * c));
    region.angle = static_cast<float>(angle);
    region.length = right - left + 1;
    region.height = bottom - top + 1;
    return region;
}

void scaleUp(CodeRegion& region, float factor) {
    region.centre = (region.centre + cv::Point2f(0.5F, 0.5F)) * factor - cv::Point2f(0.5F, 0.5F);
    region.length *= factor;
    region.height *= factor;
}

void addRegions(const SlopeGrid& grid, const cv::Mat& mask, float scale,
                std::vector<CodeRegion>& regions) {
    cv::Mat labels;
    cv::Mat stats;
    cv::Mat centres;
    const int count = cv::connectedComponentsWithStats(mask, labels, stats, centres);
    for (int label = 1; label < count; ++label) {
        const int* found = stats.ptr<int>(label);
        const cv::Rect box(found[cv::CC_STAT_LEFT], found[cv::CC_STAT_TOP],
                           found[cv::CC_STAT_WIDTH], found[cv::CC_STAT_HEIGHT]);
        if (float(found[cv::CC_STAT_AREA]) < 3 * shortest)
            continue;
        CodeRegion region = measure(grid, labels, label, box);
        if (region.length < shortest)
            continue;
        scaleUp(region, scale);
        regions.push_back(region);
    }
}

} // namespace

std::vector<CodeRegion> findCodeRegions(const cv::Mat& photo) {
    std::vector<CodeRegion> regions;
    cv::Mat picture = photo;
    const cv::Mat square = cv::getStructuringElement(cv::MORPH_RECT, {opening, opening});
    for (const Search& search : searches) {
        picture = reduced(picture, search.longSide);
        const SlopeGrid grid = slopeGrid(picture, search.cell);
        if (grid.xx.empty())
            break;
        const cv::Mat energy = coherentEnergy(grid);
        const float scale = static_cast<float>(search.cell) * static_cast<float>(photo.cols) /
                            static_cast<float>(picture.cols);
        for (const float least : leastEdges) {
            const cv::Mat mask = energy > least;
            cv::Mat withoutLines;
            cv::morphologyEx(mask, withoutLines, cv::MORPH_OPEN, square);
            addRegions(grid, withoutLines, scale, regions);
            addRegions(grid, mask, scale, regions);
        }
    }
    return regions;
}

std::vector<cv::Point2f> corners(const CodeRegion& region) {
    const cv::Point2f across(std::cos(region.angle) * region.length / 2,
                             std::sin(region.angle) * region.length / 2);
    const cv::Point2f along(-std::sin(region.angle) * region.height / 2,
                            std::cos(region.angle) * region.height / 2);
    return {region.centre - across - along, region.centre + across - along,
            region.centre + across + along, region.centre - across + along};
}

} // namespace kopertal
