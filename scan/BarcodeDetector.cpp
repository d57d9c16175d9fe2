#include "scan/BarcodeDetector.h"

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

bool isInside(const cv::Point2f& point, const CodeRegion& region) {
    const cv::Point2f d = point - region.centre;
    const float c = std::cos(region.angle);
    const float s = std::sin(region.angle);
    return std::abs(d.x * c + d.y * s) < region.length / 2 &&
           std::abs(-d.x * s + d.y * c) < region.height / 2;
}

QList<Barcode> linearCodes(const cv::Mat& photo) {
    struct Read {
        CodeRegion region;
        LineReading reading;
    };
    const std::vector<CodeRegion> regions = findCodeRegions(photo);
    std::vector<Read> read;
    std::mutex mutex;
    const auto isRead = [&](const CodeRegion& region) {
        const std::lock_guard lock(mutex);
        return std::ranges::any_of(
            read, [&](const Read& other) { return isInside(region.centre, other.region); });
    };
    const int count = static_cast<int>(regions.size());
    cv::parallel_for_(
        {0, count},
        [&](const cv::Range& range) {
            for (int i = range.start; i < range.end; ++i) {
                const CodeRegion& region = regions[static_cast<size_t>(i)];
                if (isRead(region))
                    continue;
                std::optional<LineReading> reading = readLinearCode(photo, region);
                if (!reading)
                    continue;
                const std::lock_guard lock(mutex);
                read.push_back({region, *std::move(reading)});
            }
        },
        count);
    // Regions of several searches overlap, and two threads may have read the same one.
    QList<Barcode> codes;
    std::vector<CodeRegion> kept;
    for (const Read& each : read) {
        bool isRepeated = false;
        for (size_t i = 0; i < kept.size(); ++i) {
            isRepeated =
                isRepeated ||
                (codes[static_cast<qsizetype>(i)].text == each.reading.text &&
                 (isInside(each.region.centre, kept[i]) || isInside(kept[i].centre, each.region)));
        }
        if (isRepeated)
            continue;
        kept.push_back(each.region);
        codes.append({each.reading.text, each.reading.format,
                      boxAround(corners(each.region), photo.size())});
    }
    return codes;
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
    QList<Barcode> codes = linearCodes(photo);
    if (onLinearCodes)
        onLinearCodes(codes);
    for (const MatrixReading& code : findMatrixCodes(photo)) {
        const cv::Rect2f box(code.box);
        codes.append({code.reading.text, code.reading.format,
                      boxAround({box.tl(), box.br()}, photo.size())});
    }
    return codes;
}

} // namespace kopertal
