#include "tests/support/photo/RegisterPhoto.h"

#include <QBuffer>
#include <QImage>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace kopertal::test {
namespace {

using Span = cv::Vec2d;

/// What happens between a sheet and the file, drawn from a span for each level of difficulty: all
/// lengths in pixels of the photo, at 12 megapixels.
struct Shot {
    size_t level;
    cv::RNG& random;
    cv::Size size;
    /// How much of the frame the sheet takes, at most.
    double fill = from({0.9, 1.0}, {0.85, 1.0}, {0.85, 1.0});
    /// In degrees.
    double turn = from({-3, 3}, {-20, 20}, {-25, 25});
    /// How far corners are pulled in, as a part of the sheet.
    double perspective = from({0, 0.04}, {0.02, 0.12}, {0.05, 0.15});
    /// How far the sheet bulges.
    double bend = from({0, 0}, {0, 12}, {0, 25});
    /// Standard deviation.
    double blur = from({0.4, 0.9}, {0.4, 0.75}, {0.6, 1.1});
    /// Length of a straight smear.
    double motion = from({0, 0}, {0, 1.2}, {0, 2});
    /// Standard deviation, of 255.
    double noise = from({1, 4}, {3, 7}, {4, 10});
    /// 0 none, 1 black.
    double shadow = from({0, 0.2}, {0.1, 0.5}, {0.2, 0.6});
    double vignette = from({0.1, 0.1}, {0.1, 0.3}, {0.1, 0.4});
    /// White paper's brightness.
    double exposure = from({0.85, 1}, {0.7, 1}, {0.55, 0.95});
    double contrast = from({1, 1}, {0.7, 1}, {0.5, 0.9});
    /// As phones do it, after the noise.
    double sharpening = from({0, 0.6}, {0, 0}, {0, 0});
    int glares = level == 0 ? 0 : random.uniform(0, level == 1 ? 2 : 4);

    double from(const Span& easy, const Span& medium, const Span& hard) const {
        const auto [least, most] = std::array{easy, medium, hard}[level].val;
        return least < most ? random.uniform(least, most) : least;
    }
};

/// Sheet to photo: turned, drawn together at the corners, centred roughly.
cv::Mat view(const cv::Size& sheet, const Shot& shot) {
    cv::RNG& random = shot.random;
    const double radians = shot.turn * CV_PI / 180;
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    const double width = sheet.width * std::abs(c) + sheet.height * std::abs(s);
    const double height = sheet.width * std::abs(s) + sheet.height * std::abs(c);
    const double scale = shot.fill * std::min(shot.size.width / width, shot.size.height / height);
    const Corners from = cornersOf({{0, 0}, cv::Size2f(sheet)});
    Corners to;
    const double slackX = (1 - shot.fill) * shot.size.width * 0.4;
    const double slackY = (1 - shot.fill) * shot.size.height * 0.4;
    const cv::Point2d middle(shot.size.width / 2.0 + random.uniform(-1.0, 1.0) * slackX,
                             shot.size.height / 2.0 + random.uniform(-1.0, 1.0) * slackY);
    for (size_t i = 0; i < 4; ++i) {
        const double pull = 1 - random.uniform(0.0, 1.0) * shot.perspective;
        const double x = (from[i].x - sheet.width / 2.0) * scale * pull;
        const double y = (from[i].y - sheet.height / 2.0) * scale * pull;
        to[i] = cv::Point2d(middle.x + x * c - y * s, middle.y + x * s + y * c);
    }
    return cv::getPerspectiveTransform(from.data(), to.data());
}

/// A value from 0 to 1 over the frame, with a soft straight edge somewhere.
cv::Mat softEdge(const cv::Size& size, double softness, cv::RNG& random) {
    const double angle = random.uniform(0.0, 2 * CV_PI);
    const double offset = random.uniform(-0.25, 0.25);
    cv::Mat_<float> small(64, 64);
    small.forEach([&](float& value, const int* at) {
        const double d =
            (at[1] / 64.0 - 0.5) * std::cos(angle) + (at[0] / 64.0 - 0.5) * std::sin(angle);
        value = static_cast<float>(1 / (1 + std::exp(-(d - offset) / softness)));
    });
    cv::Mat mask;
    cv::resize(small, mask, size, 0, 0, cv::INTER_CUBIC);
    return mask;
}

void light(cv::Mat& photo, const Shot& shot) {
    cv::RNG& random = shot.random;
    const cv::Size size = photo.size();
    cv::Mat gain(size, CV_32F, cv::Scalar(1.0));
    if (shot.shadow > 0)
        gain -= softEdge(size, random.uniform(0.01, 0.05), random) * shot.shadow;
    gain -= softEdge(size, 0.3, random) * shot.vignette;
    photo = photo.mul(gain) * shot.exposure;
    photo = (photo - 128 * shot.exposure) * shot.contrast + 128 * shot.exposure;
    for (int i = 0; i < shot.glares; ++i) {
        cv::Mat spot(96, 96, CV_32F, cv::Scalar(0.0));
        cv::ellipse(spot, {random.uniform(16, 80), random.uniform(16, 80)},
                    {random.uniform(3, 9), random.uniform(2, 5)}, random.uniform(0, 180), 0, 360,
                    cv::Scalar(random.uniform(60.0, 150.0)), cv::FILLED);
        cv::GaussianBlur(spot, spot, {}, 3);
        cv::resize(spot, spot, size, 0, 0, cv::INTER_LINEAR);
        photo += spot;
    }
}

void smear(cv::Mat& photo, double length, double radians) {
    const int side = 2 * static_cast<int>(std::ceil(length / 2)) + 3;
    const int centre = side / 2;
    cv::Mat kernel(side, side, CV_32F, cv::Scalar(0.0));
    double t = -length / 2;
    while (t <= length / 2) {
        const double x = centre + t * std::cos(radians);
        const double y = centre + t * std::sin(radians);
        kernel.at<float>(static_cast<int>(std::lround(y)), static_cast<int>(std::lround(x))) += 1;
        t += 0.05;
    }
    cv::filter2D(photo, photo, -1, kernel / cv::sum(kernel)[0]);
}

/// The sheet as a camera sees it, grey; the codes' corners follow.
Page photograph(const Page& sheet, const Shot& shot) {
    cv::RNG& random = shot.random;
    const cv::Mat transform = view(sheet.ink.size(), shot);
    cv::Mat photo;
    const double table = random.uniform(40.0, 170.0); // the desk around the sheet
    cv::warpPerspective(sheet.ink, photo, transform, shot.size, cv::INTER_LINEAR,
                        cv::BORDER_CONSTANT, cv::Scalar(table));
    photo.convertTo(photo, CV_32F);

    Page result{{}, sheet.codes};
    for (PlacedCode& placed : result.codes)
        cv::perspectiveTransform(placed.corners, placed.corners, transform);
    if (shot.bend > 0) {
        // A fold across the frame: rows move sideways along one wave.
        const double phase = random.uniform(0.0, 2 * CV_PI);
        const auto shift = [&](double x, double y) {
            const auto wave = [&](double at) {
                return shot.bend * std::sin(2 * CV_PI * at / shot.size.height + phase);
            };
            return cv::Point2d(wave(y), wave(x) / 2);
        };
        cv::Mat_<cv::Point2f> sources(shot.size);
        sources.forEach([&](cv::Point2f& source, const int* at) {
            source = cv::Point2d(at[1], at[0]) - shift(at[1], at[0]);
        });
        cv::remap(photo.clone(), photo, sources, {}, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
        for (PlacedCode& placed : result.codes) {
            for (cv::Point2f& corner : placed.corners)
                corner += cv::Point2f(shift(corner.x, corner.y));
        }
    }
    light(photo, shot);
    if (shot.blur > 0)
        cv::GaussianBlur(photo, photo, {}, shot.blur);
    if (shot.motion > 1)
        smear(photo, shot.motion, random.uniform(0.0, CV_PI));
    cv::Mat noise(photo.size(), CV_32F);
    random.fill(noise, cv::RNG::NORMAL, 0, shot.noise);
    photo += noise;
    if (shot.sharpening > 0) {
        cv::Mat soft;
        cv::GaussianBlur(photo, soft, {}, 1.5);
        photo += (photo - soft) * shot.sharpening;
    }
    photo.convertTo(result.ink, CV_8U);
    return result;
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
    constexpr double ratio = 4.0 / 3;
    const auto longSide = static_cast<int>(std::lround(std::sqrt(recipe.megapixels * 1e6 * ratio)));
    const auto shortSide = static_cast<int>(std::lround(longSide / ratio));
    Shot shot{level, random,
              recipe.subject == Subject::closeUp ? cv::Size(longSide, shortSide)
                                                 : cv::Size(shortSide, longSide)};
    shot.bend *= detail;
    if (recipe.difficulty != Difficulty::easy && random.uniform(0, 4) == 0) {
        // Held sideways.
        std::swap(shot.size.width, shot.size.height);
        shot.turn += 90 * random.uniform(1, 4);
    }
    const Page photo = photograph(sheet, shot);
    const cv::Range qualities[] = {{88, 96}, {75, 92}, {60, 88}};
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
