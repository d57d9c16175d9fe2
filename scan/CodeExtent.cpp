#include "scan/CodeExtent.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace kopertal {
namespace {

constexpr int stripRows = 24;
constexpr int longestStrip = 6000;
constexpr int fewestEdges = 16;

cv::Mat meanRow(const cv::Mat& rows) {
    cv::Mat mean;
    cv::reduce(rows, mean, 0, cv::REDUCE_AVG, CV_32F);
    return mean;
}

/// How far the values around each sample of a row reach.
cv::Mat slidingRange(const cv::Mat& row, int window) {
    const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, {window, 1});
    cv::Mat low;
    cv::Mat high;
    cv::erode(row, low, element);
    cv::dilate(row, high, element);
    return high - low;
}

/// The distances between dark and light in a part of the row.
std::vector<float> edgeDistances(const cv::Mat& row, int from, int to) {
    cv::Mat mean;
    cv::blur(row, mean, {std::max(9, (to - from) / 8) | 1, 1});
    double contrast = 0;
    cv::minMaxLoc(cv::abs(row.colRange(from, to) - mean.colRange(from, to)), nullptr, &contrast);
    const auto hysteresis = static_cast<float>(contrast * 0.15);
    std::vector<float> distances;
    int last = -1;
    bool isDark = false;
    for (int x = from; x < to; ++x) {
        const float value = row.at<float>(0, x) - mean.at<float>(0, x);
        if (isDark ? value > hysteresis : value < -hysteresis) {
            isDark = !isDark;
            if (last >= 0)
                distances.push_back(static_cast<float>(x - last));
            last = x;
        }
    }
    return distances;
}

float median(std::vector<float> values) {
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

CodeRegion moved(const CodeRegion& region, float across, float along) {
    CodeRegion result = region;
    const float c = std::cos(region.angle);
    const float s = std::sin(region.angle);
    result.centre += cv::Point2f(across * c - along * s, across * s + along * c);
    return result;
}

/// How well each row goes with the mean of the middle ones, from -1 to 1.
std::vector<double> likeness(const cv::Mat& rows, const cv::Mat& mean) {
    cv::Scalar average;
    cv::Scalar deviation;
    cv::meanStdDev(mean, average, deviation);
    const cv::Mat pattern = mean - average[0];
    std::vector<double> result(static_cast<size_t>(rows.rows));
    for (int y = 0; y < rows.rows; ++y) {
        cv::Scalar rowAverage;
        cv::Scalar rowDeviation;
        cv::meanStdDev(rows.row(y), rowAverage, rowDeviation);
        result[static_cast<size_t>(y)] =
            pattern.dot(rows.row(y)) / (rows.cols * deviation[0] * rowDeviation[0] + 1e-6);
    }
    return result;
}

/// The region turned until its bars stand upright: slopes of narrow bars mislead by some degrees.
/// Then the mean of all its rows, shifted against each other, is the liveliest.
CodeRegion uprighted(const cv::Mat& photo, const CodeRegion& region) {
    constexpr int widest = 320;
    constexpr int rowHeight = 3; // pixels, small against the shift that is looked for
    constexpr int fineness = 2;  // samples a pixel
    CodeRegion part = region;
    part.length = std::min(region.length, float(widest));
    part.height = std::min(region.height * 0.8F, part.length);
    const int rows = std::clamp(static_cast<int>(part.height / rowHeight), 2, 40);
    const int columns = static_cast<int>(part.length) * fineness;
    cv::Mat patch;
    cv::resize(straightened(photo, part, {columns, rows * rowHeight}), patch, {columns, rows}, 0, 0,
               cv::INTER_AREA);
    const float rowStep = part.height / static_cast<float>(rows);
    constexpr float steepest = 0.2F;
    const int margin =
        std::min(columns / 4, static_cast<int>(steepest * part.height / 2 * fineness) + 1);
    const int width = columns - 2 * margin;
    if (width < 16)
        return region;
    std::vector<int> sums(static_cast<size_t>(width));
    double bestEnergy = -1;
    float bestLean = 0;
    // A step moves the outer rows by half a pixel.
    const float step = std::max(0.005F, 1 / part.height);
    for (float lean = -steepest; lean <= steepest; lean += step) {
        std::ranges::fill(sums, 0);
        for (int y = 0; y < rows; ++y) {
            const float along =
                (static_cast<float>(y) - static_cast<float>(rows - 1) / 2) * rowStep;
            const int shift =
                std::clamp(static_cast<int>(std::lround(lean * along * fineness)), -margin, margin);
            const uchar* row = patch.ptr(y) + margin + shift;
            for (int x = 0; x < width; ++x)
                sums[static_cast<size_t>(x)] += row[x];
        }
        double energy = 0;
        for (size_t x = fineness; x < sums.size(); ++x) {
            const double slope = sums[x] - sums[x - fineness];
            energy += slope * slope;
        }
        if (energy > bestEnergy) {
            bestEnergy = energy;
            bestLean = lean;
        }
    }
    CodeRegion result = region;
    result.angle -= std::atan(bestLean);
    return result;
}

/// The region from end to end across the bars, or nothing.
std::optional<CodeRegion> fullLength(const cv::Mat& photo, const CodeRegion& seed) {
    // One sample a pixel, far beyond both ends.
    CodeRegion strip = seed;
    strip.height = std::min(seed.height * 0.6F, seed.length);
    const float reach =
        std::min(float(longestStrip), std::max(seed.length * 3, seed.length + 16 * seed.height));
    strip.length = reach;
    const int width = static_cast<int>(reach);
    const cv::Mat row = meanRow(straightened(photo, strip, {width, stripRows}));
    const int middle = width / 2;
    const int half = std::max(4, static_cast<int>(seed.length / 2));
    const std::vector<float> distances =
        edgeDistances(row, std::max(0, middle - half), std::min(width, middle + half));
    if (distances.size() < 6)
        return std::nullopt;
    // Bars are up to four modules wide and the quiet zone about ten; half of the distances between
    // edges are one module or little more.
    const int window = static_cast<int>(median(distances) * 4.5F) | 1;
    const cv::Mat range = slidingRange(row, window);
    std::vector<float> inside;
    for (int x = std::max(0, middle - half); x < std::min(width, middle + half); ++x)
        inside.push_back(range.at<float>(0, x));
    const float least = std::max(8.0F, median(inside) * 0.35F);
    int left = middle;
    int right = middle;
    while (left > 0 && range.at<float>(0, left - 1) > least)
        --left;
    while (right < width - 1 && range.at<float>(0, right + 1) > least)
        ++right;
    left += window / 2;
    right -= window / 2;
    if (right - left < 40 || edgeDistances(row, left, right).size() < fewestEdges)
        return std::nullopt;
    CodeRegion result =
        moved(seed, static_cast<float>(left + right) / 2 - static_cast<float>(width) / 2, 0);
    result.length = static_cast<float>(right - left);
    result.stroke = median(edgeDistances(row, left, right));
    return result;
}

/// The region from end to end along the bars.
CodeRegion fullHeight(const cv::Mat& photo, const CodeRegion& region) {
    CodeRegion tall = region;
    tall.height = std::max(region.height * 2.2F, 12.0F);
    constexpr int rows = 96;
    const int columns = std::clamp(static_cast<int>(region.length), 64, 800);
    cv::Mat patch;
    straightened(photo, tall, {columns, rows}).convertTo(patch, CV_32F);
    const int middle = rows / 2;
    const cv::Mat mean = meanRow(patch.rowRange(middle - rows / 8, middle + rows / 8));
    const std::vector<double> alike = likeness(patch, mean);
    constexpr double enough = 0.5;
    constexpr int patience = 4; // rows under a pen stroke
    const auto extend = [&](int step) {
        int last = middle;
        for (int y = middle; y >= 0 && y < rows && std::abs(y - last) <= patience; y += step) {
            if (alike[static_cast<size_t>(y)] > enough)
                last = y;
        }
        return last;
    };
    const int top = extend(-1);
    const int bottom = extend(1);
    const float step = tall.height / rows;
    CodeRegion result =
        moved(region, 0, (static_cast<float>(top + bottom + 1) / 2 - rows / 2.0F) * step);
    result.height = static_cast<float>(bottom - top + 1) * step;
    return result;
}

} // namespace

std::optional<CodeRegion> codeExtent(const cv::Mat& photo, const CodeRegion& region) {
    const std::optional<CodeRegion> length = fullLength(photo, uprighted(photo, region));
    if (!length)
        return std::nullopt;
    CodeRegion result = fullHeight(photo, *length);
    // The higher the bars are, the better is seen how they stand.
    const CodeRegion again = uprighted(photo, result);
    constexpr float noticeable = 0.02F;
    if (std::abs(again.angle - result.angle) > noticeable) {
        if (const std::optional<CodeRegion> better = fullLength(photo, again))
            result = fullHeight(photo, *better);
    }
    // Letters are about as high as four of their strokes.
    if (result.height < std::max(4.0F, 6 * result.stroke) || result.height > result.length)
        return std::nullopt;
    return result;
}

cv::Mat straightened(const cv::Mat& photo, const CodeRegion& region, const cv::Size& size,
                     float margin) {
    const float length = region.length * (1 + 2 * margin);
    const float stepX = length / static_cast<float>(size.width);
    const float stepY = region.height / static_cast<float>(size.height);
    const float c = std::cos(region.angle);
    const float s = std::sin(region.angle);
    const float u = -length / 2 + stepX / 2;
    const float v = -region.height / 2 + stepY / 2;
    const cv::Matx23f map(stepX * c, -stepY * s, region.centre.x + u * c - v * s, //
                          stepX * s, stepY * c, region.centre.y + u * s + v * c);
    cv::Mat patch;
    cv::warpAffine(photo, patch, map, size, cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                   cv::BORDER_REPLICATE);
    return patch;
}

} // namespace kopertal
