#include "tests/support/photo/RegisterPhoto.h"

#include "tests/support/photo/Camera.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace kopertal::test {
namespace {

constexpr double photoRatio = 4.0 / 3;

/// The shot at 12 megapixels; other sizes scale what is a length.
Shot drawShot(Difficulty difficulty, cv::RNG& random) {
    Shot shot;
    const auto between = [&](double low, double high) { return random.uniform(low, high); };
    switch (difficulty) {
    case Difficulty::easy:
        shot.fill = between(0.9, 1.0);
        shot.turn = between(-3, 3);
        shot.perspective = between(0, 0.04);
        shot.blur = between(0.4, 0.9);
        shot.noise = between(1, 4);
        shot.shadow = between(0, 0.2);
        shot.exposure = between(0.85, 1);
        shot.sharpening = between(0, 0.6);
        break;
    case Difficulty::medium:
        shot.fill = between(0.85, 1.0);
        shot.turn = between(-20, 20);
        shot.perspective = between(0.02, 0.12);
        shot.bend = between(0, 12);
        shot.blur = between(0.4, 0.75);
        shot.motion = between(0, 1.2);
        shot.noise = between(3, 7);
        shot.shadow = between(0.1, 0.5);
        shot.vignette = between(0.1, 0.3);
        shot.exposure = between(0.7, 1);
        shot.contrast = between(0.7, 1);
        shot.glares = random.uniform(0, 2);
        break;
    case Difficulty::hard:
        shot.fill = between(0.85, 1.0);
        shot.turn = between(-25, 25);
        shot.perspective = between(0.05, 0.15);
        shot.bend = between(0, 25);
        shot.blur = between(0.6, 1.1);
        shot.motion = between(0, 2);
        shot.noise = between(4, 10);
        shot.shadow = between(0.2, 0.6);
        shot.vignette = between(0.1, 0.4);
        shot.exposure = between(0.55, 0.95);
        shot.contrast = between(0.5, 0.9);
        shot.glares = random.uniform(0, 4);
        break;
    }
    return shot;
}

int jpegQuality(Difficulty difficulty, cv::RNG& random) {
    switch (difficulty) {
    case Difficulty::easy:
        return random.uniform(88, 96);
    case Difficulty::medium:
        return random.uniform(75, 92);
    default:
        return random.uniform(60, 88);
    }
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
    Shot shot = drawShot(recipe.difficulty, random);
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
    return {encodePage(photo.ink, "jpeg", jpegQuality(recipe.difficulty, random)),
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
