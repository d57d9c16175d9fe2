#pragma once

#include "tests/support/photo/RegisterPage.h"

namespace kopertal::test {

/// What happens between a sheet and the file: all lengths in pixels of the photo.
struct Shot {
    double fill;        ///< How much of the frame the sheet takes, at most.
    double turn;        ///< Degrees.
    double perspective; ///< How far corners are pulled in, as a part of the sheet.
    double bend;        ///< How far the sheet bulges.
    double blur;        ///< Standard deviation.
    double motion;      ///< Length of a straight smear.
    double noise;       ///< Standard deviation, of 255.
    double shadow;      ///< 0 none, 1 black.
    double vignette;
    double exposure; ///< White paper's brightness.
    double contrast;
    double sharpening; ///< As phones do it, after the noise.
    int glares;
    cv::Size size;
};

/// The sheet as a camera sees it, grey; the codes' corners follow.
Page photograph(const Page& sheet, const Shot& shot, cv::RNG& random);

} // namespace kopertal::test
