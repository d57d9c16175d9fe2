#include "tests/support/photo/RegisterPage.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace kopertal::test {
namespace {

constexpr double pageWidth = 210; // mm
constexpr double pageHeight = 297;
constexpr double firstRow = 75;
constexpr double rowHeight = 15;
constexpr double numberColumn = 123;
constexpr double numberColumnWidth = 38;
constexpr uchar paper = 245;

int toPixels(double millimetres, double scale) {
    return static_cast<int>(std::lround(millimetres * scale));
}

void write(cv::Mat& page, const std::string& text, cv::Point2d at, double size, double scale,
           uchar shade = 40) {
    // The font's capitals are 21 units high at scale 1.
    const double fontScale = size * scale / 21;
    cv::putText(page, text, {toPixels(at.x, scale), toPixels(at.y, scale)},
                cv::FONT_HERSHEY_SIMPLEX, fontScale, cv::Scalar(shade),
                std::max(1, static_cast<int>(fontScale * 2.2)), cv::LINE_AA);
}

void line(cv::Mat& page, cv::Point2d from, cv::Point2d to, double width, double scale,
          uchar shade = 30) {
    cv::line(page, {toPixels(from.x, scale), toPixels(from.y, scale)},
             {toPixels(to.x, scale), toPixels(to.y, scale)}, cv::Scalar(shade),
             std::max(1, toPixels(width, scale)), cv::LINE_AA);
}

std::string words(cv::RNG& random, int count) {
    static const std::array syllables{"wa", "ko", "Le", "szna", "dro",
                                      "ga", "Ra", "mi", "ska",  "nie"};
    std::string text;
    for (int i = 0; i < count; ++i) {
        for (int s = random.uniform(2, 5); s > 0; --s)
            text += syllables[static_cast<size_t>(random.uniform(0, 10))];
        text += ' ';
    }
    return text;
}

/// The label of one letter: the office above, the bars, the number below.
Page makeLabel(const CodeText& text, double moduleSize, double barHeight, double scale,
               cv::RNG& random) {
    const cv::Mat code =
        drawCode(text, moduleSize * scale, isLinear(text) ? toPixels(barHeight, scale) : 0);
    const int quiet = toPixels(std::max(2.0, 10 * moduleSize), scale);
    const int top = toPixels(2.6, scale);
    const int bottom = toPixels(3, scale);
    cv::Mat picture(code.rows + top + bottom, code.cols + 2 * quiet, CV_8U, cv::Scalar(paper + 8));
    const cv::Rect place(quiet, top, code.cols, code.rows);
    code.copyTo(picture(place));
    write(picture, "R  " + words(random, 2), {1.5, 2.1}, 1.5, scale);
    write(picture, text.text.toStdString(), {quiet / scale + 1, picture.rows / scale - 0.8}, 1.7,
          scale);
    cv::rectangle(picture, {0, 0, picture.cols, picture.rows}, cv::Scalar(150), 1);
    return {picture, {{text, cornersOf(place)}}};
}

void stick(Page& page, const Page& label, cv::Point2d centre, double degrees) {
    const cv::Point2f middle(static_cast<float>(label.ink.cols) / 2,
                             static_cast<float>(label.ink.rows) / 2);
    cv::Mat turn = cv::getRotationMatrix2D(middle, degrees, 1);
    turn.at<double>(0, 2) += centre.x - middle.x;
    turn.at<double>(1, 2) += centre.y - middle.y;
    cv::warpAffine(label.ink, page.ink, turn, page.ink.size(), cv::INTER_LINEAR,
                   cv::BORDER_TRANSPARENT);
    page.codes.append(label.codes);
    cv::transform(page.codes.last().corners, page.codes.last().corners, turn);
}

void stampOffice(cv::Mat& page, cv::Point2d centre, double scale, cv::RNG& random) {
    const int side = toPixels(30, scale);
    cv::Mat stamp(side, side, CV_8U, cv::Scalar(255));
    const cv::Point middle(side / 2, side / 2);
    const auto shade = static_cast<uchar>(random.uniform(70, 140));
    for (const double radius : {13.5, 9.0})
        cv::circle(stamp, middle, toPixels(radius, scale), cv::Scalar(shade), toPixels(0.7, scale),
                   cv::LINE_AA);
    write(stamp, "WARSZAWA", {4.5, 9}, 2, scale, shade);
    write(stamp, "2026 -11- 22", {5, 16}, 2.4, scale, shade);
    line(stamp, {3, 12}, {27, 12}, 0.5, scale, shade);
    line(stamp, {3, 18}, {27, 18}, 0.5, scale, shade);
    cv::Mat turned;
    cv::warpAffine(stamp, turned, cv::getRotationMatrix2D(middle, random.uniform(-40.0, 40.0), 1),
                   stamp.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(255));
    // Ink lets what is below show through.
    cv::Mat below = page(
        {toPixels(centre.x, scale) - side / 2, toPixels(centre.y, scale) - side / 2, side, side});
    cv::multiply(below, turned, below, 1.0 / 255);
}

void drawForm(cv::Mat& page, double scale, cv::RNG& random) {
    write(page, "POCZTOWA KSIAZKA NADAWCZA", {10, 16}, 4, scale);
    for (const double y : {21.0, 54.0})
        line(page, {10, y}, {200, y}, 0.25, scale);
    write(page, words(random, 3), {13, 32}, 2.5, scale);
    write(page, words(random, 3), {13, 40}, 2.5, scale);
    for (const double x :
         {10.0, 17.0, 63.0, 96.0, 106.0, 112.0, 117.0, 123.0, 161.0, 173.0, 181.0, 186.0, 200.0})
        line(page, {x, 58}, {x, firstRow + 10 * rowHeight}, x == 10 || x == 200 ? 0.5 : 0.2, scale);
    line(page, {10, 58}, {200, 58}, 0.5, scale);
    for (int row = 0; row <= 10; ++row) {
        const double y = firstRow + row * rowHeight;
        line(page, {10, y}, {200, y}, 0.25, scale);
        if (row == 10)
            break;
        write(page, std::to_string(row + 1), {12, y + 8}, 2.2, scale);
        write(page, words(random, 2), {19, y + 8}, 2, scale);
        write(page, words(random, 2), {65, y + 6}, 1.8, scale);
        write(page, words(random, 2), {65, y + 11}, 1.8, scale);
    }
}

CodeText anyCode(cv::RNG& random, bool isMatrix) {
    const int kind = random.uniform(0, 100);
    if (isMatrix || (kind >= 8 && kind < 12))
        return otherMatrix(random);
    if (kind < 8)
        return otherLinear(random);
    return kind < 70 ? registeredLetter(random) : internationalLetter(random);
}

double modulesOf(const CodeText& text) {
    return drawCode(text, 1, 1).cols;
}

} // namespace

Corners cornersOf(const cv::Rect2f& place) {
    return {place.tl(), {place.br().x, place.y}, place.br(), {place.x, place.br().y}};
}

Page registerPage(cv::RNG& random, const PageOptions& options) {
    const double scale = options.scale;
    Page page{
        cv::Mat(toPixels(pageHeight, scale), toPixels(pageWidth, scale), CV_8U, cv::Scalar(paper)),
        {}};
    drawForm(page.ink, scale, random);
    std::array<int, 10> rows{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (size_t i = rows.size(); i > 1; --i)
        std::swap(rows[i - 1], rows[static_cast<size_t>(random.uniform(0, static_cast<int>(i)))]);
    std::sort(rows.begin(), rows.begin() + options.labels);
    for (int i = 0; i < options.labels; ++i) {
        const CodeText text = anyCode(random, options.hasOnlyMatrices);
        const double width = numberColumnWidth + random.uniform(-3.0, 6.0);
        const int matrixWidth = text.format == QLatin1String("PDF417") ? 40 : 11;
        const double moduleSize = isLinear(text) ? std::min(0.33, width / (modulesOf(text) + 20))
                                                 : std::min(0.4, matrixWidth / modulesOf(text));
        const Page label = makeLabel(text, moduleSize, random.uniform(6.0, 8.5), scale, random);
        const cv::Point2d centre(numberColumn + numberColumnWidth / 2 + random.uniform(-2.0, 2.0),
                                 firstRow + (rows[static_cast<size_t>(i)] + 0.5) * rowHeight +
                                     random.uniform(-0.8, 0.8));
        stick(page, label, centre * scale, random.uniform(-options.tilt, options.tilt));
    }
    for (int i = 0; i < options.stamps; ++i)
        stampOffice(page.ink,
                    {numberColumn + random.uniform(-8.0, numberColumnWidth + 10),
                     firstRow + random.uniform(0.0, 10 * rowHeight)},
                    scale, random);
    for (int i = 0; i < options.strokes; ++i) {
        const cv::Point2d from(numberColumn + random.uniform(-4.0, 30.0),
                               firstRow + random.uniform(0.0, 10 * rowHeight));
        line(page.ink, from,
             from + cv::Point2d(random.uniform(5.0, 25.0), random.uniform(-6.0, 6.0)), 0.4, scale,
             static_cast<uchar>(random.uniform(50, 110)));
    }
    return page;
}

Page labelSheet(cv::RNG& random, double scale) {
    Page page{cv::Mat(toPixels(30, scale), toPixels(62, scale), CV_8U, cv::Scalar(paper)), {}};
    const CodeText text =
        random.uniform(0, 3) > 0 ? registeredLetter(random) : internationalLetter(random);
    const Page label = makeLabel(text, 42 / modulesOf(text), 9, scale, random);
    stick(page, label, cv::Point2d(31, 15) * scale, random.uniform(-3.0, 3.0));
    return page;
}

Page codelessPage(cv::RNG& random, double scale) {
    Page page = registerPage(random, {.scale = scale, .stamps = 3, .strokes = 5});
    // What looks like bars and is none: hatching, a ruler's marks, a grille.
    for (int patch = 0; patch < 3; ++patch) {
        const cv::Point2d at(random.uniform(12.0, 150.0), random.uniform(230.0, 270.0));
        const double step = random.uniform(0.5, 2.0);
        double x = 0;
        while (x < 40) {
            line(page.ink, at + cv::Point2d(x, 0), at + cv::Point2d(x, 8), step / 3, scale);
            x += step * (patch == 1 ? 1 : random.uniform(0.6, 1.8));
        }
    }
    return page;
}

} // namespace kopertal::test
