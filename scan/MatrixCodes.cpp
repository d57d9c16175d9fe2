#include "scan/MatrixCodes.h"

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <mutex>

namespace kopertal {
namespace {

constexpr int longSide = 1600;
constexpr int tileSide = 640;
constexpr int tileStep = 320;
constexpr int mostCodesInTile = 6;

std::vector<cv::Rect> tiles(const cv::Size& size) {
    const auto starts = [](int length) {
        std::vector<int> result;
        for (int start = 0;; start += tileStep) {
            result.push_back(std::max(0, std::min(start, length - tileSide)));
            if (start + tileSide >= length)
                return result;
        }
    };
    std::vector<cv::Rect> result;
    for (const int y : starts(size.height)) {
        for (const int x : starts(size.width))
            result.push_back(cv::Rect(x, y, tileSide, tileSide) & cv::Rect({0, 0}, size));
    }
    return result;
}

} // namespace

std::vector<MatrixReading> findMatrixCodes(const cv::Mat& photo) {
    const double scale = std::min(1.0, double(longSide) / std::max(photo.cols, photo.rows));
    cv::Mat picture = photo;
    if (scale < 1)
        cv::resize(photo, picture, {}, scale, scale, cv::INTER_AREA);
    const std::vector<cv::Rect> all = tiles(picture.size());
    std::vector<MatrixReading> found;
    std::mutex mutex;
    cv::parallel_for_({0, static_cast<int>(all.size())}, [&](const cv::Range& range) {
        for (int i = range.start; i < range.end; ++i) {
            const cv::Rect& tile = all[static_cast<size_t>(i)];
            cv::Mat content = picture(tile).clone();
            for (int n = 0; n < mostCodesInTile; ++n) {
                std::optional<MatrixReading> code = readMatrixCode(content);
                if (!code)
                    break;
                // One read at a time: what was found is painted over.
                cv::rectangle(content, code->box, cv::Scalar(255), cv::FILLED);
                code->box += tile.tl();
                const std::lock_guard lock(mutex);
                const bool isKnown = std::ranges::any_of(found, [&](const MatrixReading& other) {
                    return other.reading == code->reading && (other.box & code->box).area() > 0;
                });
                if (!isKnown)
                    found.push_back(*std::move(code));
            }
        }
    });
    for (MatrixReading& code : found) {
        const auto up = [&](int value) { return static_cast<int>(value / scale); };
        code.box = {up(code.box.x), up(code.box.y), up(code.box.width), up(code.box.height)};
    }
    return found;
}

} // namespace kopertal
