#pragma once

#include "tests/support/photo/PrintedCode.h"

#include <QList>

#include <array>

namespace kopertal::test {

using Corners = std::array<cv::Point2f, 4>;

/// From the upper left one on, clockwise.
Corners cornersOf(const cv::Rect2f& place);

struct PlacedCode {
    CodeText code;
    Corners corners; ///< Around the printed code.
};

/// A flat sheet before it is photographed: 8-bit grey, and where its codes are, in its pixels.
struct Page {
    cv::Mat ink;
    QList<PlacedCode> codes;
};

struct PageOptions {
    double scale;                 ///< Pixels a millimetre.
    int labels = 0;               ///< At most ten, one a row of the form.
    double tilt = 0;              ///< Labels are stuck on by hand: up to so many degrees off.
    int stamps = 0;               ///< Round office stamps pressed half over labels, and
    int strokes = 0;              ///< pen strokes across them.
    bool hasOnlyMatrices = false; ///< Otherwise few codes are not what letters carry.
};

/// The dispatch register of ten rows, A4, with a label stuck on `labels` of them.
Page registerPage(cv::RNG& random, const PageOptions& options);

/// A single label, filling its sheet.
Page labelSheet(cv::RNG& random, double scale);

/// Paragraphs, table lines and stripes, but no code.
Page codelessPage(cv::RNG& random, double scale);

} // namespace kopertal::test
