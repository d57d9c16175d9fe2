#include "scan/CodeRegions.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace kopertal {
namespace {

/// How a reduced picture is searched. Lengths in its pixels.
struct Search {
    int longSide;
    int window;      ///< Over which directions are compared.
    float coherence; ///< From 0 (all directions) to 1 (one direction).
    int opening;     ///< Regions narrower than this are dropped; 0 for none.
    float shortest;  ///< Regions shorter than this across the bars are dropped.
};

/// Labels on a page, with and without table lines beside them; single labels that fill the frame.
constexpr std::array searches{Search{1600, 17, 0.55F, 25, 40}, Search{1600, 13, 0.75F, 0, 30},
                              Search{640, 15, 0.6F, 17, 40}};

constexpr float faintestEdges = 0.0015F; // mean squared slope, of the local brightness

/// Products of slopes, averaged over a window.
struct Tensor {
    cv::Mat xx;
    cv::Mat yy;
    cv::Mat xy;
};

cv::Mat reduced(const cv::Mat& photo, int longSide) {
    const double scale = double(longSide) / std::max(photo.cols, photo.rows);
    if (scale >= 1)
        return photo;
    cv::Mat result;
    cv::resize(photo, result, {}, scale, scale, cv::INTER_AREA);
    return result;
}

/// Brightness against that of the neighbourhood: shadows go.
cv::Mat evened(const cv::Mat& picture) {
    cv::Mat bright;
    picture.convertTo(bright, CV_32F);
    cv::Mat mean;
    cv::boxFilter(bright, mean, -1, {41, 41});
    cv::Mat result;
    cv::divide(bright, mean + 8, result);
    return result;
}

/// Slopes of the whole picture, before averaging.
Tensor slopes(const cv::Mat& picture) {
    cv::Mat x;
    cv::Mat y;
    cv::Sobel(picture, x, CV_32F, 1, 0, 3, 0.25);
    cv::Sobel(picture, y, CV_32F, 0, 1, 3, 0.25);
    return {x.mul(x), y.mul(y), x.mul(y)};
}

cv::Mat windowed(const cv::Mat& values, int window) {
    cv::Mat result;
    cv::boxFilter(values, result, -1, {window, window});
    return result;
}

cv::Mat barMask(const Tensor& tensor, const Search& search) {
    const cv::Mat xx = windowed(tensor.xx, search.window);
    const cv::Mat yy = windowed(tensor.yy, search.window);
    const cv::Mat xy = windowed(tensor.xy, search.window);
    cv::Mat mask(xx.size(), CV_8U);
    const float least = search.coherence * search.coherence;
    for (int row = 0; row < mask.rows; ++row) {
        const auto* a = xx.ptr<float>(row);
        const auto* b = yy.ptr<float>(row);
        const auto* c = xy.ptr<float>(row);
        auto* out = mask.ptr<uchar>(row);
        for (int i = 0; i < mask.cols; ++i) {
            const float energy = a[i] + b[i];
            const float difference = a[i] - b[i];
            out[i] = energy > faintestEdges &&
                             difference * difference + 4 * c[i] * c[i] > least * energy * energy
                         ? 255
                         : 0;
        }
    }
    if (search.opening > 0)
        cv::morphologyEx(
            mask, mask, cv::MORPH_OPEN,
            cv::getStructuringElement(cv::MORPH_RECT, {search.opening, search.opening}));
    return mask;
}

/// The direction and the extents of one connected part of the mask.
CodeRegion measure(const Tensor& tensor, const cv::Mat& labels, int label, const cv::Rect& box) {
    double xx = 0;
    double yy = 0;
    double xy = 0;
    std::vector<cv::Point> pixels;
    for (int y = box.y; y < box.br().y; ++y) {
        const int* row = labels.ptr<int>(y);
        for (int x = box.x; x < box.br().x; ++x) {
            if (row[x] != label)
                continue;
            xx += tensor.xx.at<float>(y, x);
            yy += tensor.yy.at<float>(y, x);
            xy += tensor.xy.at<float>(y, x);
            pixels.emplace_back(x, y);
        }
    }
    const double angle = 0.5 * std::atan2(2 * xy, xx - yy);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    std::vector<float> across(pixels.size());
    std::vector<float> along(pixels.size());
    for (size_t i = 0; i < pixels.size(); ++i) {
        across[i] = static_cast<float>(pixels[i].x * c + pixels[i].y * s);
        along[i] = static_cast<float>(-pixels[i].x * s + pixels[i].y * c);
    }
    const auto range = [](std::vector<float>& values, double cut) {
        const auto low = values.begin() + static_cast<ptrdiff_t>(cut * double(values.size()));
        const auto high = values.end() - 1 - (low - values.begin());
        std::nth_element(values.begin(), low, values.end());
        const float lowest = *low;
        std::nth_element(values.begin(), high, values.end());
        return std::pair(lowest, *high);
    };
    const auto [left, right] = range(across, 0.002);
    const auto [top, bottom] = range(along, 0.02);
    const double u = (left + right) / 2;
    const double v = (top + bottom) / 2;
    CodeRegion region;
    region.centre =
        cv::Point2f(static_cast<float>(u * c - v * s), static_cast<float>(u * s + v * c));
    region.angle = static_cast<float>(angle);
    region.length = right - left + 1;
    region.height = bottom - top + 1;
    region.weight = static_cast<float>(xx + yy);
    return region;
}

void scaleUp(CodeRegion& region, float factor) {
    region.centre = (region.centre + cv::Point2f(0.5F, 0.5F)) * factor - cv::Point2f(0.5F, 0.5F);
    region.length *= factor;
    region.height *= factor;
}

} // namespace

std::vector<CodeRegion> findCodeRegions(const cv::Mat& photo) {
    std::vector<CodeRegion> regions;
    cv::Mat picture;
    Tensor tensor;
    int longSide = 0;
    for (const Search& search : searches) {
        if (search.longSide != longSide) {
            longSide = search.longSide;
            picture = reduced(picture.empty() ? photo : picture, longSide);
            tensor = slopes(evened(picture));
        }
        const float factor = static_cast<float>(photo.cols) / static_cast<float>(picture.cols);
        cv::Mat labels;
        cv::Mat stats;
        cv::Mat centres;
        const int count =
            cv::connectedComponentsWithStats(barMask(tensor, search), labels, stats, centres);
        for (int label = 1; label < count; ++label) {
            const int* found = stats.ptr<int>(label);
            if (float(std::max(found[cv::CC_STAT_WIDTH], found[cv::CC_STAT_HEIGHT])) < search.shortest)
                continue;
            CodeRegion region = measure(tensor, labels, label,
                                        {found[cv::CC_STAT_LEFT], found[cv::CC_STAT_TOP],
                                         found[cv::CC_STAT_WIDTH], found[cv::CC_STAT_HEIGHT]});
            if (region.length < search.shortest)
                continue;
            scaleUp(region, factor);
            region.weight *= factor * factor;
            regions.push_back(region);
        }
    }
    std::ranges::sort(regions, std::greater{}, &CodeRegion::weight);
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
