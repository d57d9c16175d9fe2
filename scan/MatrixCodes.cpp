#include "scan/MatrixCodes.h"

#include "scan/SlopeGrid.h"

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <mutex>

namespace kopertal {
namespace {

constexpr int cell = 10;            // pixels
constexpr float leastEdges = 0.02F; // mean squared slope, against the brightness squared
constexpr int opening = 4;          // cells; lines of text are thinner
constexpr int smallest = 5;         // cells
constexpr float longest = 8;        // times as long as high
constexpr int mostCandidates = 48;
constexpr int readableSide = 640; // pixels of what is given to the reader
constexpr int mostCodesInCandidate = 6;

/// Parts of the photo that are full of edges, whatever their direction, the largest first; and the
/// whole, for a code that fills it.
std::vector<cv::Rect> candidates(const cv::Mat& photo) {
    std::vector<cv::Rect> result;
    const SlopeGrid grid = slopeGrid(photo, cell);
    if (!grid.xx.empty()) {
        cv::Mat mask = grid.xx + grid.yy > leastEdges;
        const auto square = [](int side) {
            return cv::getStructuringElement(cv::MORPH_RECT, {side, side});
        };
        cv::morphologyEx(mask, mask, cv::MORPH_CLOSE, square(3));
        cv::morphologyEx(mask, mask, cv::MORPH_OPEN, square(opening));
        cv::Mat labels;
        cv::Mat stats;
        cv::Mat centres;
        const int count = cv::connectedComponentsWithStats(mask, labels, stats, centres);
        for (int label = 1; label < count; ++label) {
            const int* found = stats.ptr<int>(label);
            const cv::Size size(found[cv::CC_STAT_WIDTH], found[cv::CC_STAT_HEIGHT]);
            const auto [shorter, longer] = std::minmax({size.width, size.height});
            if (shorter < smallest ||
                static_cast<float>(longer) > longest * static_cast<float>(shorter))
                continue;
            const int margin = std::max(2, shorter / 4);
            const cv::Rect box(found[cv::CC_STAT_LEFT] - margin, found[cv::CC_STAT_TOP] - margin,
                               size.width + 2 * margin, size.height + 2 * margin);
            result.push_back(cv::Rect(box.tl() * cell, box.size() * cell) &
                             cv::Rect({0, 0}, photo.size()));
        }
    }
    std::ranges::sort(result, std::greater{}, &cv::Rect::area);
    result.resize(std::min(result.size(), static_cast<size_t>(mostCandidates)));
    result.insert(result.begin(), cv::Rect({0, 0}, photo.size()));
    return result;
}

/// All codes in one part of the photo.
std::vector<MatrixReading> readAll(const cv::Mat& photo, const cv::Rect& part) {
    const double scale = std::min(1.0, double(readableSide) / std::max(part.width, part.height));
    cv::Mat content;
    cv::resize(photo(part), content, {}, scale, scale, cv::INTER_AREA);
    std::vector<MatrixReading> found;
    while (found.size() < mostCodesInCandidate) {
        std::optional<MatrixReading> code = readMatrixCode(content);
        if (!code)
            break;
        // One read at a time: what was found is painted over.
        cv::rectangle(content, code->box, cv::Scalar(255), cv::FILLED);
        const auto up = [&](int value) { return static_cast<int>(value / scale); };
        code->box =
            cv::Rect(up(code->box.x), up(code->box.y), up(code->box.width), up(code->box.height)) +
            part.tl();
        found.push_back(*std::move(code));
    }
    return found;
}

} // namespace

std::vector<MatrixReading> findMatrixCodes(const cv::Mat& photo) {
    const std::vector<cv::Rect> parts = candidates(photo);
    std::vector<MatrixReading> found;
    std::mutex mutex;
    const int count = static_cast<int>(parts.size());
    const auto work = [&](const cv::Range& range) {
        for (int i = range.start; i < range.end; ++i) {
            for (MatrixReading& code : readAll(photo, parts[static_cast<size_t>(i)])) {
                const std::lock_guard lock(mutex);
                const bool isKnown = std::ranges::any_of(found, [&](const MatrixReading& other) {
                    return other.reading == code.reading && (other.box & code.box).area() > 0;
                });
                if (!isKnown)
                    found.push_back(std::move(code));
            }
        }
    };
    cv::parallel_for_({0, count}, work, count);
    return found;
}

} // namespace kopertal
