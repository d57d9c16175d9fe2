#include "tests/support/photo/RegisterPhoto.h"

#include "tests/support/photo/Camera.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace kopertal::test {
namespace {

constexpr double photoRatio = 4.0 / 3;

struct Span {
    double low;
    double high;
};

/// What a level of difficulty draws its shots from, at 12 megapixels.
struct Conditions {
    Span fill, turn, perspective, bend;
    Span blur, motion, noise;
    Span shadow, vignette, exposure, contrast, sharpening;
    int mostGlares;
    cv::Range quality; ///< Of the JPEG.
};

// clang-format off
/// From easy to hard, in the order above.
const std::array<Conditions, 3> levels{{
    {{0.9, 1.0}, {-3, 3}, {0, 0.04}, {0, 0},
     {0.4, 0.9}, {0, 0}, {1, 4},
     {0, 0.2}, {0.1, 0.1}, {0.85, 1}, {1, 1}, {0, 0.6},
     0, {88, 96}},
    {{0.85, 1.0}, {-20, 20}, {0.02, 0.12}, {0, 12},
     {0.4, 0.75}, {0, 1.2}, {3, 7},
     {0.1, 0.5}, {0.1, 0.3}, {0.7, 1}, {0.7, 1}, {0, 0},
     1, {75, 92}},
    {{0.85, 1.0}, {-25, 25}, {0.05, 0.15}, {0, 25},
     {0.6, 1.1}, {0, 2}, {4, 10},
     {0.2, 0.6}, {0.1, 0.4}, {0.55, 0.95}, {0.5, 0.9}, {0, 0},
     3, {60, 88}},
}};
// clang-format on

Shot drawShot(const Conditions& level, cv::RNG& random) {
    const auto within = [&](const Span& span) {
        return span.low < span.high ? random.uniform(span.low, span.high) : span.low;
    };
    Shot shot;
    shot.fill = within(level.fill);
    shot.turn = within(level.turn);
    shot.perspective = within(level.perspective);
    shot.bend = within(level.bend);
    shot.blur = within(level.blur);
    shot.motion = within(level.motion);
    shot.noise = within(level.noise);
    shot.shadow = within(level.shadow);
    shot.vignette = within(level.vignette);
    shot.exposure = within(level.exposure);
    shot.contrast = within(level.contrast);
    shot.glares = level.mostGlares > 0 ? random.uniform(0, level.mostGlares + 1) : 0;
    shot.sharpening = within(level.sharpening);
    return shot;
}

Page drawSheet(const PhotoRecipe& recipe, cv::RNG& random) {
    const double detail = std::sqrt(recipe.megapixels / 12);
    if (recipe.subject == Subject::closeUp)
        return labelSheet(random, 60 * detail);
    const double scale = std::clamp(14 * detail, 8.0, 28.0);
    if (recipe.subject == Subject::codeless)
        return codelessPage(random, scale);
    PageOptions options;
    options.scale = scale;
    options.labels = random.uniform(1, 11);
    const auto level = static_cast<int>(recipe.difficulty);
    options.tilt = 2 + 3 * level;
    options.stamps = random.uniform(0, 2 + 2 * level);
    options.strokes = level * random.uniform(0, 3);
    if (recipe.subject == Subject::matrices) {
        options.otherPercent = 0;
        options.matrixPercent = 100;
    }
    return registerPage(random, options);
}

} // namespace

RegisterPhoto makeRegisterPhoto(const PhotoRecipe& recipe) {
    cv::RNG random(recipe.seed * 0x9e3779b97f4a7c15U +
                   static_cast<quint64>(recipe.difficulty) * 7919 +
                   static_cast<quint64>(recipe.subject) * 104729 + 1);
    for (int i = 0; i < 8; ++i)
        random.next();
    const double detail = std::sqrt(recipe.megapixels / 12);
    const Page sheet = drawSheet(recipe, random);
    const Conditions& level = levels[static_cast<size_t>(recipe.difficulty)];
    Shot shot = drawShot(level, random);
    const int longSide =
        static_cast<int>(std::lround(std::sqrt(recipe.megapixels * 1e6 * photoRatio)));
    const int shortSide = static_cast<int>(std::lround(longSide / photoRatio));
    shot.size = recipe.subject == Subject::closeUp ? cv::Size(longSide, shortSide)
                                                   : cv::Size(shortSide, longSide);
    shot.bend *= detail;
    if (recipe.difficulty != Difficulty::easy && random.uniform(0, 4) == 0) {
        // Held sideways.
        std::swap(shot.size.width, shot.size.height);
        shot.turn += 90 * random.uniform(1, 4);
    }
    const Page photo = photograph(sheet, shot, random);
    return {encodePage(photo.ink, "jpeg", random.uniform(level.quality.start, level.quality.end)),
            {photo.ink.cols, photo.ink.rows},
            photo.codes};
}

QByteArray encodePage(const cv::Mat& grey, const char* format, int quality) {
    // Paper under a warm lamp: a colour picture, as cameras store it.
    cv::Mat channels[] = {grey, grey * 0.97, grey * 0.9};
    cv::Mat colour;
    cv::merge(channels, 3, colour);
    const QImage picture(colour.data, colour.cols, colour.rows, static_cast<qsizetype>(colour.step),
                         QImage::Format_RGB888);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    if (!writer.write(picture))
        return {};
    return buffer.data();
}

RegisterPhoto makeScreenshot(const QList<CodeText>& codes, const char* format) {
    Page page{cv::Mat(static_cast<int>(codes.size()) * 160 + 60, 900, CV_8U, cv::Scalar(255)), {}};
    int y = 60;
    for (const CodeText& code : codes) {
        const cv::Mat picture = drawCode(code, isLinear(code) ? 3 : 4, 80);
        const cv::Rect place(120, y, picture.cols, picture.rows);
        picture.copyTo(page.ink(place));
        const cv::Point2f corner(place.tl());
        const auto width = static_cast<float>(place.width);
        const auto height = static_cast<float>(place.height);
        page.codes.append({code,
                           {corner, corner + cv::Point2f(width, 0),
                            corner + cv::Point2f(width, height), corner + cv::Point2f(0, height)}});
        y += 160;
    }
    return {encodePage(page.ink, format), {page.ink.cols, page.ink.rows}, page.codes};
}

} // namespace kopertal::test
