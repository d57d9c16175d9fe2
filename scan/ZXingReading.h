#pragma once

#include "scan/LineVotes.h"

#include <opencv2/core/mat.hpp>

#include <optional>
#include <vector>

namespace kopertal {

struct LineCode {
    LineReading reading;
    int start; ///< The first and
    int end;   ///< the last sample of the code.
};

/// A linear code in one row of 8-bit samples, dark below 128.
std::optional<LineCode> readLine(const cv::Mat& row);

struct MatrixReading {
    LineReading reading;
    std::vector<cv::Point2f> corners; ///< Around the code, in the picture.
};

/// The first two-dimensional code in an 8-bit grey picture. The library may abort the process on
/// pictures that were made to do so.
std::optional<MatrixReading> readMatrixCode(const cv::Mat& picture);

} // namespace kopertal
