#pragma once

#include "tests/support/photo/PrintedCode.h"

#include <QList>

#include <array>

namespace kopertal::test {

struct PlacedCode {
    CodeText code;
    std::array<cv::Point2f, 4> corners; ///< Around the printed code.
};

/// A flat sheet before it is photographed: 8-bit grey, and where its codes are, in its pixels.
struct Page {
    cv::Mat ink;
    QList<PlacedCode> codes;
};

struct PageOptions {
    double scale = 14;     ///< Pixels a millimetre.
    int labels = 10;       ///< At most ten, one a row of the form.
    double tilt = 2;       ///< Labels are stuck on by hand: up to so many degrees off.
    double moduleSize = 0; ///< Millimetres; 0 for what fits the form's column.
    int stamps = 1;        ///< Round office stamps pressed half over labels, and
    int strokes = 0;       ///< pen strokes across them.
    int otherPercent = 8;  ///< Codes of other kinds than letters carry: linear
    int matrixPercent = 4; ///< and two-dimensional.
};

/// The dispatch register of ten rows, A4, with a label stuck on `labels` of them.
Page registerPage(cv::RNG& random, const PageOptions& options);

/// A single label, filling its sheet.
Page labelSheet(cv::RNG& random, double scale);

/// Paragraphs, table lines and stripes, but no code.
Page codelessPage(cv::RNG& random, double scale);

} // namespace kopertal::test
