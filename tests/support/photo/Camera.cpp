#include "tests/support/photo/Camera.h"

#include <opencv2/imgproc.hpp>

#include <cmath>

namespace kopertal::test {
namespace {

/// Sheet to photo: turned, drawn together at the corners, centred roughly.
cv::Mat view(const cv::Size& sheet, const Shot& shot, cv::RNG& random) {
    const double radians = shot.turn * CV_PI / 180;
    const double c = std::abs(std::cos(radians));
    const double s = std::abs(std::sin(radians));
    const double scale =
        shot.fill * std::min(shot.size.width / (sheet.width * c + sheet.height * s),
                             shot.size.height / (sheet.width * s + sheet.height * c));
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
        to[i] = cv::Point2f(
            static_cast<float>(middle.x + x * std::cos(radians) - y * std::sin(radians)),
            static_cast<float>(middle.y + x * std::sin(radians) + y * std::cos(radians)));
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

void light(cv::Mat& photo, const Shot& shot, cv::RNG& random) {
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

} // namespace

Page photograph(const Page& sheet, const Shot& shot, cv::RNG& random) {
    const cv::Mat transform = view(sheet.ink.size(), shot, random);
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
        cv::Mat bent;
        cv::remap(photo, bent, sources, {}, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
        photo = bent;
        for (PlacedCode& placed : result.codes) {
            for (cv::Point2f& corner : placed.corners)
                corner += cv::Point2f(shift(corner.x, corner.y));
        }
    }
    light(photo, shot, random);
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

} // namespace kopertal::test
