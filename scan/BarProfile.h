#pragma once

#include <opencv2/core/mat.hpp>

namespace kopertal {

/// Lines across upright bars, ready for a fixed threshold: `bands` rows, each the mean of its part
/// of the patch, with a Gaussian blur of `blur` samples taken back, and stretched between black and
/// white. `stroke` is the usual width of a bar, in samples.
cv::Mat barProfiles(const cv::Mat& patch, int bands, float blur, float stroke);

} // namespace kopertal
