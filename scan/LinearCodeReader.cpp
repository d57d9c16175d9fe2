#include "scan/LinearCodeReader.h"

#include "scan/BarProfile.h"
#include "scan/Code128Matching.h"
#include "scan/CodeExtent.h"
#include "scan/ZXingReading.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kopertal {
namespace {

constexpr int tallestPatch = 256;
constexpr float samplesPerStroke = 12;
constexpr float quietZone = 0.08F; // of the length, on both sides

struct Attempt {
    int bands;
    Along along;
    float blur;     ///< Taken back, as a part of a stroke.
    bool isCleared; ///< What stands beyond the quiet zones is painted over: a label's edge looks
                    ///< like the first bars of some codes. Not always, for the ends may be wrong.
    float ceiling = 1; ///< Paler ink is taken off.
};

/// From the cheap ones that read what is clear to those for blurred and disturbed codes.
constexpr std::array attempts{
    Attempt{16, Along::mean, 0.3F, true},         Attempt{8, Along::mean, 0.45F, false},
    Attempt{8, Along::lightest, 0.3F, true},      Attempt{32, Along::mean, 0, true},
    Attempt{16, Along::mean, 0.5F, true},         Attempt{4, Along::mean, 0.55F, true},
    Attempt{8, Along::lightest, 0.5F, false},     Attempt{8, Along::mean, 0.6F, true},
    Attempt{16, Along::mean, 0.1F, true},         Attempt{4, Along::mean, 0.7F, true},
    Attempt{8, Along::mean, 0.2F, false},         Attempt{8, Along::lightest, 0.2F, true, 0.8F},
    Attempt{16, Along::lightest, 0, true, 0.65F},
};

/// Paints what is farther from the code than its quiet zone.
void clearBeyond(cv::Mat& lines, float margin, float stroke) {
    constexpr float strokes = 6;
    const int width = static_cast<int>(margin - strokes * stroke);
    if (width <= 0)
        return;
    lines.colRange(0, width) = cv::Scalar(255);
    lines.colRange(lines.cols - width, lines.cols) = cv::Scalar(255);
}

/// Bands of all attempts on one scale of 32, so that the same place counts once.
int place(int band, int bands) {
    return (2 * band + 1) * 16 / bands;
}

/// What the lines read, when that is only a small part of the region.
CodeRegion narrowed(const CodeRegion& region, float from, float to, const QList<int>& bands) {
    const auto [first, last] = std::ranges::minmax(bands);
    const float across = ((from + to) / 2 - 0.5F) * region.length;
    const float along = (static_cast<float>(first + last) / 2 / 32 - 0.5F) * region.height;
    const float c = std::cos(region.angle);
    const float s = std::sin(region.angle);
    CodeRegion part = region;
    part.centre += cv::Point2f(across * c - along * s, across * s + along * c);
    part.length = (to - from) * region.length;
    part.height = static_cast<float>(last - first + 2) / 32 * region.height;
    return part;
}

} // namespace

std::optional<LinearCode> readLinearCode(const cv::Mat& photo, const CodeRegion& region) {
    const int rows = std::clamp(static_cast<int>(region.height), 4, tallestPatch);
    const float whole = region.length * (1 + 2 * quietZone);
    const int columns =
        std::clamp(static_cast<int>(whole / region.stroke * samplesPerStroke), 600, 3000);
    const float stroke = region.stroke * static_cast<float>(columns) / whole; // in samples
    const cv::Mat patch = straightened(photo, region, {columns, rows}, quietZone);
    const float margin = static_cast<float>(columns) * quietZone / (1 + 2 * quietZone);
    LineVotes votes;
    float start = 1;
    float end = 0;
    for (const Attempt& attempt : attempts) {
        cv::Mat lines = barProfiles(withoutPaleInk(patch, attempt.ceiling, stroke), attempt.bands,
                                    attempt.along, attempt.blur * stroke, stroke);
        if (attempt.isCleared)
            clearBeyond(lines, margin, stroke);
        for (int band = 0; band < lines.rows; ++band) {
            const std::optional<LineCode> code = readLine(lines.row(band));
            if (!code)
                continue;
            votes.add(place(band, lines.rows), code->reading);
            start = std::min(start, static_cast<float>(code->start) / static_cast<float>(columns));
            end = std::max(end, static_cast<float>(code->end) / static_cast<float>(columns));
        }
        const std::optional<LineVotes::Winner> winner = votes.winner();
        if (!winner)
            continue;
        constexpr float mostOfIt = 0.6F;
        if (end - start > mostOfIt)
            return LinearCode{winner->reading, region};
        const float inner = 1 + 2 * quietZone;
        const CodeRegion part = narrowed(region, (start - 0.5F) * inner + 0.5F,
                                         (end - 0.5F) * inner + 0.5F, winner->bands);
        return LinearCode{winner->reading, codeExtent(photo, part).value_or(part)};
    }
    if (const std::optional<QString> number =
            matchLetterNumber(patch, margin, static_cast<float>(columns) - margin, stroke))
        return LinearCode{{*number, QStringLiteral("Code128")}, region};
    return std::nullopt;
}

} // namespace kopertal
