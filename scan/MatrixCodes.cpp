#include "scan/MatrixCodes.h"

#include "scan/CodeExtent.h"
#include "scan/MatrixRegions.h"

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <functional>
#include <mutex>

namespace kopertal {
namespace {

constexpr int mostPixels = 640;    // a side of what is given to the reader
constexpr float clearPixels = 360; // of a code's shorter side: its cells are then ten or more
constexpr float mostEnlarged = 3;
constexpr float margin = 0.25F; // of the shorter side: cells at a code's edges are often missed
constexpr size_t mostCodesInPart = 6;

CodeRegion whole(const cv::Mat& photo) {
    CodeRegion region;
    region.centre = {static_cast<float>(photo.cols - 1) / 2,
                     static_cast<float>(photo.rows - 1) / 2};
    region.length = static_cast<float>(photo.cols);
    region.height = static_cast<float>(photo.rows);
    return region;
}

CodeRegion withMargin(CodeRegion region) {
    const float more = 2 * margin * std::min(region.length, region.height);
    region.length += more;
    region.height += more;
    return region;
}

cv::Mat scaled(const cv::Mat& photo, const CodeRegion& part, float scale) {
    const auto sized = [&](float factor) {
        return cv::Size(std::max(1, static_cast<int>(part.length * factor)),
                        std::max(1, static_cast<int>(part.height * factor)));
    };
    if (scale >= 1)
        return straightened(photo, part, sized(scale));
    // Reduced in a step of its own: turning alone would skip pixels.
    cv::Mat result;
    cv::resize(straightened(photo, part, sized(1)), result, sized(scale), 0, 0, cv::INTER_AREA);
    return result;
}

/// All codes in a picture of a part of the photo, their corners in the photo. Spoils the picture.
std::vector<MatrixReading> readAll(cv::Mat picture, const CodeRegion& part) {
    const float scale = part.length / static_cast<float>(picture.cols);
    const float c = std::cos(part.angle);
    const float s = std::sin(part.angle);
    std::vector<MatrixReading> found;
    while (found.size() < mostCodesInPart) {
        std::optional<MatrixReading> code = readMatrixCode(picture);
        if (!code)
            break;
        // One read at a time: what was found is painted over.
        const std::vector<cv::Point> outline(code->corners.begin(), code->corners.end());
        cv::fillConvexPoly(picture, outline, cv::Scalar(255));
        for (cv::Point2f& corner : code->corners) {
            const float u = corner.x * scale - part.length / 2;
            const float v = corner.y * scale - part.height / 2;
            corner = part.centre + cv::Point2f(u * c - v * s, u * s + v * c);
        }
        found.push_back(*std::move(code));
    }
    return found;
}

/// Whether the code corrects errors, and so proves that there were few. The small one only detects
/// some, and noise has passed for it.
bool provesItself(const MatrixReading& code) {
    return code.reading.format != QLatin1String("MicroQRCode");
}

std::vector<MatrixReading> readRegion(const cv::Mat& photo, const CodeRegion& region) {
    const CodeRegion part = withMargin(region);
    const float natural = std::min(1.0F, mostPixels / std::max(part.length, part.height));
    std::vector<MatrixReading> found = readAll(scaled(photo, part, natural), part);
    if (std::ranges::any_of(found, provesItself))
        return found;
    const float larger =
        std::min(mostEnlarged, clearPixels / std::min(region.length, region.height));
    if (found.empty() && larger < natural)
        return found;
    std::vector<MatrixReading> again = readAll(scaled(photo, part, larger), part);
    std::erase_if(again, [&](const MatrixReading& code) {
        return !provesItself(code) &&
               std::ranges::find(found, code.reading, &MatrixReading::reading) == found.end();
    });
    return again;
}

/// Whether what stands there is a linear code, perhaps with its text.
bool isLinear(const CodeRegion& region, const std::vector<CodeRegion>& linearCodes) {
    constexpr float larger = 2;
    return std::ranges::any_of(linearCodes, [&](const CodeRegion& code) {
        return isInside(region.centre, code) &&
               region.length * region.height < larger * code.length * code.height;
    });
}

/// Remembers what was found, by several threads.
class Found {
public:
    void add(std::vector<MatrixReading> codes) {
        const std::lock_guard lock(m_mutex);
        for (MatrixReading& code : codes) {
            const cv::Point2f middle = (code.corners[0] + code.corners[2]) / 2;
            const bool isKnown = std::ranges::any_of(m_codes, [&](const MatrixReading& other) {
                return other.reading == code.reading && covers(other, middle);
            });
            if (!isKnown)
                m_codes.push_back(std::move(code));
        }
    }

    bool covers(cv::Point2f point) {
        const std::lock_guard lock(m_mutex);
        return std::ranges::any_of(m_codes,
                                   [&](const MatrixReading& code) { return covers(code, point); });
    }

    std::vector<MatrixReading> take() { return std::move(m_codes); }

private:
    static bool covers(const MatrixReading& code, cv::Point2f point) {
        return cv::pointPolygonTest(code.corners, point, false) > 0;
    }

    std::mutex m_mutex;
    std::vector<MatrixReading> m_codes;
};

} // namespace

std::vector<MatrixReading> findMatrixCodes(const cv::Mat& photo,
                                           const std::vector<SlopeLevel>& levels,
                                           const std::vector<CodeRegion>& linearCodes) {
    std::vector<CodeRegion> regions = findMatrixRegions(levels);
    std::erase_if(regions, [&](const CodeRegion& region) { return isLinear(region, linearCodes); });
    Found found;
    // A code that fills the photo.
    std::vector<MatrixReading> large = readAll(reduced(photo, mostPixels).clone(), whole(photo));
    std::erase_if(large, std::not_fn(provesItself));
    found.add(std::move(large));
    const int count = static_cast<int>(regions.size());
    const auto work = [&](const cv::Range& range) {
        for (int i = range.start; i < range.end; ++i) {
            const CodeRegion& region = regions[static_cast<size_t>(i)];
            if (!found.covers(region.centre))
                found.add(readRegion(photo, region));
        }
    };
    cv::parallel_for_({0, count}, work, count);
    return found.take();
}

} // namespace kopertal
