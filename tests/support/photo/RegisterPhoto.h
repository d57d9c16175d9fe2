#pragma once

#include "tests/support/photo/RegisterPage.h"

#include <QByteArray>
#include <QSize>

namespace kopertal::test {

enum class Difficulty { easy, medium, hard };
enum class Subject {
    page,     ///< A register with one to ten labels.
    closeUp,  ///< One label, filling the frame.
    codeless, ///< A register without any code.
    matrices, ///< A page of two-dimensional codes.
};

struct PhotoRecipe {
    quint64 seed = 1;
    Difficulty difficulty = Difficulty::easy;
    Subject subject = Subject::page;
    double megapixels = 12;
};

struct RegisterPhoto {
    QByteArray jpeg;
    QSize size;
    QList<PlacedCode> codes; ///< In pixels of the photo as it is stored.
};

/// A photo of a stamped register, made up; the same recipe gives the same bytes.
RegisterPhoto makeRegisterPhoto(const PhotoRecipe& recipe);

/// A page as a picture file: "jpeg", "png", "webp", …
QByteArray encodePage(const cv::Mat& grey, const char* format, int quality = -1);

/// A screenshot of a list of codes: clean, and upright.
RegisterPhoto makeScreenshot(const QList<CodeText>& codes, const char* format = "png");

} // namespace kopertal::test
