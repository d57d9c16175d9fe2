#include "scan/ZXingReading.h"

#define ZX_USE_UTF8
#include <ZXing/ReadBarcode.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace kopertal {
namespace {

ZXing::ImageView view(const cv::Mat& picture) {
    return {picture.data, picture.cols, picture.rows, ZXing::ImageFormat::Lum,
            static_cast<int>(picture.step)};
}

std::optional<LineReading> toReading(const ZXing::Result& result) {
    if (!result.isValid())
        return std::nullopt;
    return LineReading{QString::fromStdString(result.text()),
                       QString::fromLatin1(ZXing::ToString(result.format()))};
}

} // namespace

std::optional<LineCode> readLine(const cv::Mat& row) {
    static const ZXing::DecodeHints hints = ZXing::DecodeHints()
                                                .setFormats(ZXing::BarcodeFormat::LinearCodes)
                                                .setBinarizer(ZXing::Binarizer::FixedThreshold)
                                                .setTryHarder(true)
                                                .setTryRotate(false)
                                                .setTryDownscale(false)
                                                .setMinLineCount(1);
    try {
        const ZXing::Result result = ZXing::ReadBarcode(view(row), hints);
        std::optional<LineReading> reading = toReading(result);
        if (!reading)
            return std::nullopt;
        const int start = result.position().topLeft().x;
        const int end = result.position().topRight().x;
        return LineCode{*std::move(reading), std::min(start, end), std::max(start, end)};
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<MatrixReading> readMatrixCode(const cv::Mat& picture) {
    static const ZXing::DecodeHints hints = ZXing::DecodeHints()
                                                .setFormats(ZXing::BarcodeFormat::MatrixCodes)
                                                .setBinarizer(ZXing::Binarizer::LocalAverage)
                                                .setTryHarder(true)
                                                .setTryRotate(true)
                                                .setTryDownscale(false);
    try {
        const ZXing::Result result = ZXing::ReadBarcode(view(picture), hints);
        std::optional<LineReading> reading = toReading(result);
        if (!reading)
            return std::nullopt;
        MatrixReading code{*std::move(reading), {}};
        for (const ZXing::PointI& corner : result.position())
            code.corners.emplace_back(static_cast<float>(corner.x), static_cast<float>(corner.y));
        return code;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace kopertal
