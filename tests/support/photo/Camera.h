#pragma once

#include "tests/support/photo/RegisterPage.h"

namespace kopertal::test {

/// What happens between a sheet and the file: all lengths in pixels of the photo.
struct Shot {
    cv::Size size{3000, 4000};
    double fill = 0.9;      ///< How much of the frame the sheet takes, at most.
    double turn = 0;        ///< Degrees.
    double perspective = 0; ///< How far corners are pulled in, as a part of the sheet.
    double bend = 0;        ///< How far the sheet bulges.
    double blur = 0.6;      ///< Standard deviation.
    double motion = 0;      ///< Length of a straight smear.
    double noise = 3;       ///< Standard deviation, of 255.
    double shadow = 0;      ///< 0 none, 1 black.
    double vignette = 0.1;
    double exposure = 0.9; ///< White paper's brightness.
    double contrast = 1;
    int glares = 0;
    double sharpening = 0; ///< As phones do it, after the noise.
};

/// The sheet as a camera sees it, grey; the codes' corners follow.
Page photograph(const Page& sheet, const Shot& shot, cv::RNG& random);

} // namespace kopertal::test
