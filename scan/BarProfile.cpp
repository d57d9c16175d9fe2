#include "scan/BarProfile.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace kopertal {
namespace {

/// A row's sliding minimum and maximum.
struct Limits {
    cv::Mat low;
    cv::Mat high;
};

constexpr float widestWindow = 8; // strokes

Limits limits(const cv::Mat& lows, const cv::Mat& highs, float stroke) {
    const cv::Size window(static_cast<int>(stroke * widestWindow) | 1, 1);
    const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, window);
    Limits result;
    cv::erode(lows, result.low, element);
    cv::dilate(highs, result.high, element);
    cv::blur(result.low, result.low, window);
    cv::blur(result.high, result.high, window);
    return result;
}

/// `bands` rows, each the mean of its part of the patch.
cv::Mat averaged(const cv::Mat& patch, int bands) {
    cv::Mat rows;
    cv::resize(patch, rows, {patch.cols, std::min(bands, patch.rows)}, 0, 0, cv::INTER_AREA);
    rows.convertTo(rows, CV_32F);
    return rows;
}

/// `bands` rows, each of what is light somewhere along the bars. They share no sample: each takes
/// every so many-th row of the patch.
cv::Mat lightest(const cv::Mat& patch, int bands) {
    constexpr int rowsOfBand = 8;
    constexpr double coverable = 0.75; // the part of a bar's length
    const int rows = std::min(bands * rowsOfBand, patch.rows);
    cv::Mat fine;
    cv::resize(patch, fine, {patch.cols, rows}, 0, 0, cv::INTER_AREA);
    cv::Mat result(std::min(bands, rows), patch.cols, CV_32F);
    std::vector<uchar> column;
    for (int band = 0; band < result.rows; ++band) {
        auto* const out = result.ptr<float>(band);
        for (int x = 0; x < patch.cols; ++x) {
            column.clear();
            for (int y = band; y < rows; y += bands)
                column.push_back(fine.at<uchar>(y, x));
            const auto light =
                column.begin() + static_cast<ptrdiff_t>(coverable * double(column.size() - 1));
            std::nth_element(column.begin(), light, column.end());
            out[x] = *light;
        }
    }
    return result;
}

/// Wiener's filter against a Gaussian blur: what the blur left is raised again, as far as it stands
/// out from the noise.
cv::Mat sharpened(const cv::Mat& rows, float blur) {
    if (blur <= 0)
        return rows;
    constexpr float noise = 0.004F; // power, against that of the bars
    const int margin = static_cast<int>(4 * blur) + 8;
    cv::Mat wide;
    cv::copyMakeBorder(rows, wide, 0, 0, margin,
                       cv::getOptimalDFTSize(rows.cols + 2 * margin) - rows.cols - margin,
                       cv::BORDER_REFLECT);
    cv::Mat spectrum;
    cv::dft(wide, spectrum, cv::DFT_ROWS);
    // The packed form: one real number, then pairs of a real and an imaginary part.
    cv::Mat gain(1, wide.cols, CV_32F);
    for (int i = 0; i < wide.cols; ++i) {
        const int harmonic = (i + 1) / 2;
        const double frequency = 2 * CV_PI * harmonic / wide.cols;
        const auto left = static_cast<float>(std::exp(-0.5 * blur * blur * frequency * frequency));
        gain.at<float>(0, i) = left / (left * left + noise) * (1 + noise);
    }
    for (int y = 0; y < spectrum.rows; ++y) {
        cv::Mat row = spectrum.row(y);
        cv::multiply(row, gain, row);
    }
    cv::idft(spectrum, wide, cv::DFT_ROWS | cv::DFT_SCALE);
    return wide.colRange(margin, margin + rows.cols);
}

/// Every row stretched between its sliding minimum and maximum, so that one threshold fits all.
/// Where nothing is printed, it is white.
cv::Mat stretched(const cv::Mat& rows, float stroke) {
    const auto [low, high] = limits(rows, rows, stroke);
    cv::Mat range = high - low;
    double strongest = 0;
    cv::minMaxLoc(range, nullptr, &strongest);
    range = cv::max(range, std::max(8.0, 0.12 * strongest));
    cv::Mat result;
    cv::divide(high - rows, range, result, 255);
    cv::Mat bytes;
    result.convertTo(bytes, CV_8U, -1, 255);
    return bytes;
}

} // namespace

cv::Mat withoutPaleInk(const cv::Mat& patch, float ceiling, float stroke) {
    if (ceiling >= 1)
        return patch;
    cv::Mat darkest;
    cv::Mat brightest;
    cv::reduce(patch, darkest, 0, cv::REDUCE_MIN);
    cv::reduce(patch, brightest, 0, cv::REDUCE_MAX);
    const auto [bars, paper] = limits(darkest, brightest, stroke);
    cv::Mat most;
    cv::addWeighted(paper, ceiling, bars, 1 - ceiling, 0, most);
    cv::Mat result;
    cv::repeat(most, patch.rows, 1, result);
    cv::min(patch, result, result);
    return result;
}

cv::Mat barRows(const cv::Mat& patch, int bands, Along along) {
    return along == Along::mean ? averaged(patch, bands) : lightest(patch, bands);
}

cv::Mat barProfiles(const cv::Mat& patch, int bands, Along along, float blur, float stroke) {
    return stretched(sharpened(barRows(patch, bands, along), blur), stroke);
}

} // namespace kopertal
