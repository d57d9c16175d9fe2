#include "tests/support/photo/RegisterPhoto.h"

#include "tests/support/photo/Camera.h"

#include <QBuffer>
#include <QImage>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace kopertal::test {
namespace {

/// What shots are drawn from, at 12 megapixels: a span for each level of difficulty.
const struct {
    double Shot::*value;
    double spans[3][2];
} conditions[] = {
    {&Shot::fill, {{0.9, 1.0}, {0.85, 1.0}, {0.85, 1.0}}},
    {&Shot::turn, {{-3, 3}, {-20, 20}, {-25, 25}}},
    {&Shot::perspective, {{0, 0.04}, {0.02, 0.12}, {0.05, 0.15}}},
    {&Shot::bend, {{0, 0}, {0, 12}, {0, 25}}},
    {&Shot::blur, {{0.4, 0.9}, {0.4, 0.75}, {0.6, 1.1}}},
    {&Shot::motion, {{0, 0}, {0, 1.2}, {0, 2}}},
    {&Shot::noise, {{1, 4}, {3, 7}, {4, 10}}},
    {&Shot::shadow, {{0, 0.2}, {0.1, 0.5}, {0.2, 0.6}}},
    {&Shot::vignette, {{0.1, 0.1}, {0.1, 0.3}, {0.1, 0.4}}},
    {&Shot::exposure, {{0.85, 1}, {0.7, 1}, {0.55, 0.95}}},
    {&Shot::contrast, {{1, 1}, {0.7, 1}, {0.5, 0.9}}},
    {&Shot::sharpening, {{0, 0.6}, {0, 0}, {0, 0}}},
};
constexpr int mostGlares[] = {0, 1, 3};
const cv::Range qualities[] = {{88, 96}, {75, 92}, {60, 88}}; // of the JPEG

Shot drawShot(size_t level, cv::RNG& random) {
    Shot shot{};
    for (const auto& [value, spans] : conditions) {
        const auto [least, most] = spans[level];
        shot.*value = least < most ? random.uniform(least, most) : least;
    }
    if (mostGlares[level] > 0)
        shot.glares = random.uniform(0, mostGlares[level] + 1);
    return shot;
}

Page drawSheet(const PhotoRecipe& recipe, cv::RNG& random) {
    const double detail = std::sqrt(recipe.megapixels / 12);
    if (recipe.subject == Subject::closeUp)
        return labelSheet(random, 60 * detail);
    const double scale = std::clamp(14 * detail, 8.0, 28.0);
    if (recipe.subject == Subject::codeless)
        return codelessPage(random, scale);
    const auto level = static_cast<int>(recipe.difficulty);
    return registerPage(random, {.scale = scale,
                                 .labels = random.uniform(1, 11),
                                 .tilt = 2.0 + 3 * level,
                                 .stamps = random.uniform(0, 2 + 2 * level),
                                 .strokes = level * random.uniform(0, 3),
                                 .hasOnlyMatrices = recipe.subject == Subject::matrices});
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
    const auto level = static_cast<size_t>(recipe.difficulty);
    Shot shot = drawShot(level, random);
    constexpr double ratio = 4.0 / 3;
    const auto longSide = static_cast<int>(std::lround(std::sqrt(recipe.megapixels * 1e6 * ratio)));
    const auto shortSide = static_cast<int>(std::lround(longSide / ratio));
    shot.size = recipe.subject == Subject::closeUp ? cv::Size(longSide, shortSide)
                                                   : cv::Size(shortSide, longSide);
    shot.bend *= detail;
    if (recipe.difficulty != Difficulty::easy && random.uniform(0, 4) == 0) {
        // Held sideways.
        std::swap(shot.size.width, shot.size.height);
        shot.turn += 90 * random.uniform(1, 4);
    }
    const Page photo = photograph(sheet, shot, random);
    return {
        encodePage(photo.ink, "jpeg", random.uniform(qualities[level].start, qualities[level].end)),
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
    return picture.save(&buffer, format, quality) ? buffer.data() : QByteArray();
}

RegisterPhoto makeScreenshot(const QList<CodeText>& codes, const char* format) {
    Page page{cv::Mat(static_cast<int>(codes.size()) * 160 + 60, 900, CV_8U, cv::Scalar(255)), {}};
    int y = 60;
    for (const CodeText& code : codes) {
        const cv::Mat picture = drawCode(code, isLinear(code) ? 3 : 4, 80);
        const cv::Rect place(120, y, picture.cols, picture.rows);
        picture.copyTo(page.ink(place));
        page.codes.append({code, cornersOf(place)});
        y += 160;
    }
    return {encodePage(page.ink, format), {page.ink.cols, page.ink.rows}, page.codes};
}

} // namespace kopertal::test
