#pragma once

#include <QString>
#include <opencv2/core/mat.hpp>

#include <optional>

namespace kopertal {

/// Reads a Code 128 by comparing every symbol with all that it could be, on all lines at once: what
/// a stamp hides on one line stands on another, and blur that merges bars still leaves a likeness.
/// `patch` holds upright bars, 8 bits, from `start` to `end`, whose usual width is `stroke` (all in
/// samples, about). Gives only numbers of letters, which carry a check digit of their own.
std::optional<QString> matchLetterNumber(const cv::Mat& patch, float start, float end,
                                         float stroke);

} // namespace kopertal
