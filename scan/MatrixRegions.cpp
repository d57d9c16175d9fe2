#include "scan/MatrixRegions.h"

#include "scan/CellRegions.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>

namespace kopertal {
namespace {

constexpr int window = 3;          // cells over which directions are compared
constexpr int opening = 4;         // cells; lines of text are thinner
constexpr int fewest = 20;         // cells in all
constexpr float smallest = 5;      // cells across
constexpr float longest = 8;       // times as long as high
constexpr size_t mostRegions = 64; // each costs a few milliseconds; a full page has thirty

/// Mean squared slopes, against the brightness squared, of the weaker of two directions across each
/// other: a code has edges both ways, bars and table lines have not. From strict to lenient, so
/// that a code is found alone before it is found together with the text beside it.
constexpr std::array leastCrossing{0.1F, 0.05F, 0.02F};
/// Of all directions together: stacked codes are mostly bars.
constexpr float leastEdges = 0.05F;

/// The slopes in the direction that has the least.
cv::Mat crossing(const SlopeGrid& grid) {
    const SlopeGrid around = smoothed(grid, window);
    const cv::Mat difference = around.xx - around.yy;
    cv::Mat spread;
    cv::sqrt(difference.mul(difference) + 4 * around.xy.mul(around.xy), spread);
    return (around.xx + around.yy - spread) / 2;
}

/// The angle that most edges stand along or across, from -45 to 45 degrees.
double angleOfEdges(const cv::Mat& picture, const cv::Rect& part) {
    constexpr int step = 2; // every other pixel tells enough
    const cv::Rect inner = part & cv::Rect(1, 1, picture.cols - 2, picture.rows - 2);
    // Directions a quarter turn apart fall together in the fourth power.
    std::complex<double> sum = 0;
    for (int y = inner.y; y < inner.br().y; y += step) {
        for (int x = inner.x; x < inner.br().x; x += step) {
            const std::complex<double> slope(
                picture.at<uchar>(y, x + 1) - picture.at<uchar>(y, x - 1),
                picture.at<uchar>(y + 1, x) - picture.at<uchar>(y - 1, x));
            const std::complex<double> square = slope * slope;
            sum += square * square;
        }
    }
    return std::arg(sum) / 4;
}

bool isAlmost(const CodeRegion& a, const CodeRegion& b) {
    const float tolerance = 0.08F * std::min(b.length, b.height);
    return cv::norm(a.centre - b.centre) < tolerance && std::abs(a.length - b.length) < tolerance &&
           std::abs(a.height - b.height) < tolerance;
}

void addRegions(const SlopeLevel& level, const cv::Mat& mask, std::vector<CodeRegion>& regions) {
    cv::Mat withoutLines;
    cv::morphologyEx(mask, withoutLines, cv::MORPH_OPEN,
                     cv::getStructuringElement(cv::MORPH_RECT, {opening, opening}));
    for (const std::vector<cv::Point>& cells : connectedCells(withoutLines, fewest)) {
        const cv::Rect box = cv::boundingRect(cells);
        const double angle =
            angleOfEdges(level.picture, {box.tl() * level.cell, box.br() * level.cell});
        const CodeRegion region = boxAround(cells, angle, 0.01, 0.01, level.cellSize);
        const auto [shorter, longer] = std::minmax(region.length, region.height);
        if (shorter >= smallest * level.cellSize && longer < longest * shorter &&
            std::ranges::none_of(regions,
                                 [&](const CodeRegion& other) { return isAlmost(region, other); }))
            regions.push_back(region);
    }
}

} // namespace

std::vector<CodeRegion> findMatrixRegions(const std::vector<SlopeLevel>& levels) {
    std::vector<CodeRegion> regions;
    for (size_t i = 0; i < levels.size(); i += 2) { // they lie close together
        const cv::Mat bothWays = crossing(levels[i].grid);
        for (const float least : leastCrossing)
            addRegions(levels[i], bothWays > least, regions);
        addRegions(levels[i], levels[i].grid.xx + levels[i].grid.yy > leastEdges, regions);
    }
    regions.resize(std::min(regions.size(), mostRegions));
    return regions;
}

} // namespace kopertal
