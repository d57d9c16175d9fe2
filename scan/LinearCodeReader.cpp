#include "scan/LinearCodeReader.h"

#include "scan/ZXingReading.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace kopertal {
namespace {

constexpr int patchLength = 1600; // samples across the bars
constexpr int tallestPatch = 256;
constexpr float quietZone = 0.06F; // of the length, on both sides

/// The region turned so that its bars stand upright, stretched to `patchLength`, with some paper on
/// both sides.
cv::Mat straightened(const cv::Mat& photo, const CodeRegion& region) {
    const float length = region.length * (1 + 2 * quietZone) + 8;
    const int rows = std::clamp(static_cast<int>(region.height), 8, tallestPatch);
    const float stepX = length / patchLength;
    const float stepY = region.height / static_cast<float>(rows);
    const float c = std::cos(region.angle);
    const float s = std::sin(region.angle);
    // From patch to photo.
    const float u = -length / 2 + stepX / 2;
    const float v = -region.height / 2 + stepY / 2;
    const cv::Matx23f map(stepX * c, -stepY * s, region.centre.x + u * c - v * s, //
                          stepX * s, stepY * c, region.centre.y + u * s + v * c);
    cv::Mat patch;
    cv::warpAffine(photo, patch, map, {patchLength, rows}, cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                   cv::BORDER_REPLICATE);
    return patch;
}

/// `bands` rows, each the mean of its part of the patch.
cv::Mat averaged(const cv::Mat& patch, int bands) {
    cv::Mat rows;
    cv::resize(patch, rows, {patch.cols, std::min(bands, patch.rows)}, 0, 0, cv::INTER_AREA);
    rows.convertTo(rows, CV_32F);
    return rows;
}

cv::Mat sharpened(const cv::Mat& rows, double sigma, double strength) {
    if (strength == 0)
        return rows;
    cv::Mat soft;
    cv::GaussianBlur(rows, soft, {0, 1}, sigma, 0.01, cv::BORDER_REPLICATE);
    return rows + (rows - soft) * strength;
}

/// Every row stretched between its sliding minimum and maximum, so that one threshold fits all.
cv::Mat stretched(const cv::Mat& rows, int window) {
    const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, {window, 1});
    cv::Mat low;
    cv::Mat high;
    cv::erode(rows, low, element);
    cv::dilate(rows, high, element);
    cv::blur(low, low, {window, 1});
    cv::blur(high, high, {window, 1});
    cv::Mat range = high - low;
    range = cv::max(range, 12);
    cv::Mat result;
    cv::divide(rows - low, range, result, 255);
    cv::Mat bytes;
    result.convertTo(bytes, CV_8U);
    return bytes;
}

struct Attempt {
    int bands;
    double sigma; // in samples
    double strength;
    int window;
};

constexpr std::array attempts{
    Attempt{16, 8, 1.5, 121}, Attempt{8, 8, 3, 121},   Attempt{16, 8, 0, 161},
    Attempt{32, 8, 1.5, 121}, Attempt{16, 12, 4, 121}, Attempt{4, 10, 5, 121},
    Attempt{8, 5, 6, 81},     Attempt{8, 14, 8, 121},
};

/// Bands of all attempts on one scale, so that the same place counts once.
int place(int band, int bands) {
    return (2 * band + 1) * 16 / bands;
}

} // namespace

std::optional<LineReading> readLinearCode(const cv::Mat& photo, const CodeRegion& region) {
    const cv::Mat patch = straightened(photo, region);
    LineVotes votes;
    for (const Attempt& attempt : attempts) {
        const cv::Mat rows =
            stretched(sharpened(averaged(patch, attempt.bands), attempt.sigma, attempt.strength),
                      attempt.window);
        for (int band = 0; band < rows.rows; ++band) {
            if (const std::optional<LineReading> reading = readLine(rows.row(band)))
                votes.add(place(band, rows.rows), *reading);
        }
        if (std::optional<LineReading> winner = votes.winner())
            return winner;
    }
    return std::nullopt;
}

} // namespace kopertal
