#include "scan/CodeRegions.h"

#include "scan/CellRegions.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace kopertal {
namespace {

constexpr int window = 3; // cells over which directions are compared

/// Edges are strong in print and weak in shadow or blur: from strict to lenient, so that a code is
/// found alone before it is found together with the lines beside it.
constexpr std::array leastEdges{0.08F, 0.02F, 0.005F};
constexpr float leastCoherence = 0.5F; // 0: all directions; 1: one direction
constexpr float shortest = 4;          // cells across the bars
constexpr int fewest = 12;             // cells in all
constexpr int opening = 5;             // cells; table lines are narrower

/// What noise alone gives: the energy of the calmer cells, paper mostly.
float noiseFloor(const cv::Mat& energy) {
    std::vector<float> values(energy.begin<float>(), energy.end<float>());
    const auto calm = values.begin() + static_cast<ptrdiff_t>(values.size() / 4);
    std::nth_element(values.begin(), calm, values.end());
    return *calm;
}

/// The energy of cells with one direction of edges; 0 where there are several.
cv::Mat coherentEnergy(const SlopeGrid& grid) {
    const SlopeGrid around = smoothed(grid, window);
    const float noise = noiseFloor(around.xx + around.yy);
    cv::Mat energy(around.xx.size(), CV_32F);
    for (int row = 0; row < energy.rows; ++row) {
        const auto* a = around.xx.ptr<float>(row);
        const auto* b = around.yy.ptr<float>(row);
        const auto* c = around.xy.ptr<float>(row);
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

/// The direction across most edges.
double directionOf(const SlopeGrid& grid, const std::vector<cv::Point>& cells) {
    double xx = 0;
    double yy = 0;
    double xy = 0;
    for (const cv::Point& cell : cells) {
        xx += grid.xx.at<float>(cell);
        yy += grid.yy.at<float>(cell);
        xy += grid.xy.at<float>(cell);
    }
    return 0.5 * std::atan2(2 * xy, xx - yy);
}

void addRegions(const SlopeGrid& grid, const cv::Mat& mask, float cellSize,
                std::vector<CodeRegion>& regions) {
    for (const std::vector<cv::Point>& cells : connectedCells(mask, fewest)) {
        const CodeRegion region = boxAround(cells, directionOf(grid, cells), 0.02, 0.05, cellSize);
        if (region.length >= shortest * cellSize)
            regions.push_back(region);
    }
}

} // namespace

std::vector<CodeRegion> findCodeRegions(const std::vector<SlopeLevel>& levels) {
    std::vector<CodeRegion> regions;
    const cv::Mat square = cv::getStructuringElement(cv::MORPH_RECT, {opening, opening});
    for (const SlopeLevel& level : levels) {
        const cv::Mat energy = coherentEnergy(level.grid);
        for (const float least : leastEdges) {
            const cv::Mat mask = energy > least;
            cv::Mat withoutLines;
            cv::morphologyEx(mask, withoutLines, cv::MORPH_OPEN, square);
            addRegions(level.grid, withoutLines, level.cellSize, regions);
            addRegions(level.grid, mask, level.cellSize, regions);
        }
    }
    return regions;
}

bool isInside(const cv::Point2f& point, const CodeRegion& region) {
    const cv::Point2f d = point - region.centre;
    const float c = std::cos(region.angle);
    const float s = std::sin(region.angle);
    return std::abs(d.x * c + d.y * s) < region.length / 2 &&
           std::abs(-d.x * s + d.y * c) < region.height / 2;
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
