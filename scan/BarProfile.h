#pragma once

#include <opencv2/core/mat.hpp>

namespace kopertal {

/// What a line across the bars takes from its part of the patch.
enum class Along {
    mean,     ///< Noise goes.
    lightest, ///< So does ink that lies over the bars: it hides no bar, and spaces shine beside it.
};

/// The patch with no more light than `ceiling`, which is 0 at the bars around and 1 at the paper
/// around: the ink of stamps and pens, paler than bars, is paper then. `stroke` is the usual width
/// of a bar, in samples.
cv::Mat withoutPaleInk(const cv::Mat& patch, float ceiling, float stroke);

/// `bands` lines across upright bars, or fewer where the patch is low; 32-bit floats.
cv::Mat barRows(const cv::Mat& patch, int bands, Along along);

/// Lines across upright bars, ready for a fixed threshold: `bands` rows, each the mean of its part
/// of the patch, with a Gaussian blur of `blur` samples taken back, and stretched between black and
/// white. `stroke` is the usual width of a bar, in samples.
cv::Mat barProfiles(const cv::Mat& patch, int bands, Along along, float blur, float stroke);

} // namespace kopertal
