#include "scan/BarcodeDetector.h"

#include "scan/CodeExtent.h"
#include "scan/CodeRegions.h"
#include "scan/LinearCodeReader.h"
#include "scan/MatrixCodes.h"

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <mutex>

namespace kopertal {
namespace {

/// Normalised, with the origin at the lower left.
QRectF boxAround(const std::vector<cv::Point2f>& points, const cv::Size& photo) {
    float left = float(photo.width);
    float top = float(photo.height);
    float right = 0;
    float bottom = 0;
    for (const cv::Point2f& point : points) {
        left = std::min(left, point.x);
        right = std::max(right, point.x);
        top = std::min(top, point.y);
        bottom = std::max(bottom, point.y);
    }
    left = std::clamp(left, 0.0F, float(photo.width));
    right = std::clamp(right, 0.0F, float(photo.width));
    top = std::clamp(top, 0.0F, float(photo.height));
    bottom = std::clamp(bottom, 0.0F, float(photo.height));
    return {left / double(photo.width), 1 - bottom / double(photo.height),
            (right - left) / double(photo.width), (bottom - top) / double(photo.height)};
}

bool overlap(const CodeRegion& a, const CodeRegion& b) {
    return isInside(a.centre, b) || isInside(b.centre, a);
}

bool isAlmost(const CodeRegion& a, const CodeRegion& b) {
    const float tolerance = std::max(4.0F, 0.03F * b.length);
    return cv::norm(a.centre - b.centre) < tolerance && std::abs(a.length - b.length) < tolerance &&
           std::abs(a.height - b.height) < 0.3F * b.height;
}

/// Regions of several searches overlap: remembers what came of those that are done.
class Progress {
public:
    bool isDone(const CodeRegion& region) {
        const std::lock_guard lock(m_mutex);
        return std::ranges::any_of(
                   m_codes,
                   [&](const LinearCode& code) { return isInside(region.centre, code.region); }) ||
               std::ranges::any_of(
                   m_tried, [&](const CodeRegion& tried) { return isAlmost(region, tried); });
    }

    void tried(const CodeRegion& region, std::optional<LinearCode> code) {
        const std::lock_guard lock(m_mutex);
        m_tried.push_back(region);
        const bool isNew =
            code && std::ranges::none_of(m_codes, [&](const LinearCode& other) {
                return other.reading == code->reading && overlap(other.region, code->region);
            });
        if (isNew)
            m_codes.push_back(*std::move(code));
    }

    const std::vector<LinearCode>& codes() const { return m_codes; }

private:
    std::mutex m_mutex;
    std::vector<LinearCode> m_codes;
    std::vector<CodeRegion> m_tried;
};

std::vector<LinearCode> findLinearCodes(const cv::Mat& photo,
                                        const std::vector<SlopeLevel>& levels) {
    const std::vector<CodeRegion> regions = findCodeRegions(levels);
    const int count = static_cast<int>(regions.size());
    Progress progress;
    const auto work = [&](const cv::Range& range) {
        for (int i = range.start; i < range.end; ++i) {
            const CodeRegion& seed = regions[static_cast<size_t>(i)];
            const std::optional<CodeRegion> region =
                progress.isDone(seed) ? std::nullopt : codeExtent(photo, seed);
            if (region && !progress.isDone(*region))
                progress.tried(*region, readLinearCode(photo, *region));
        }
    };
    cv::parallel_for_({0, count}, work, count);
    return progress.codes();
}

} // namespace

QList<Barcode> detectBarcodes(const QImage& picture,
                              const std::function<void(const QList<Barcode>&)>& onLinearCodes) {
    const QImage grey = picture.format() == QImage::Format_Grayscale8
                            ? picture
                            : picture.convertToFormat(QImage::Format_Grayscale8);
    if (grey.isNull())
        return {};
    // Only read from: OpenCV has no view of constant pixels.
    const cv::Mat photo(grey.height(), grey.width(), CV_8U, const_cast<uchar*>(grey.constBits()),
                        static_cast<size_t>(grey.bytesPerLine()));
    const std::vector<SlopeLevel> levels = slopeLevels(photo);
    QList<Barcode> codes;
    std::vector<CodeRegion> taken;
    for (const LinearCode& code : findLinearCodes(photo, levels)) {
        codes.append({code.reading.text, code.reading.format,
                      boxAround(corners(code.region), photo.size())});
        taken.push_back(code.region);
    }
    if (onLinearCodes)
        onLinearCodes(codes);
    for (const MatrixReading& code : findMatrixCodes(photo, levels, taken))
        codes.append(
            {code.reading.text, code.reading.format, boxAround(code.corners, photo.size())});
    return codes;
}

} // namespace kopertal
