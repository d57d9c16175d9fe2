#pragma once

#include <QByteArrayView>
#include <QImage>

namespace kopertal {

/// The largest pictures that are decoded, in pixels: more than phones of today take. What claims to
/// be larger is refused before memory is taken. JPEG is decoded to grey straight away and takes a
/// quarter of the memory of the others.
constexpr qint64 largestJpeg = 128'000'000;
constexpr qint64 largestPhoto = 64'000'000;

/// The photo at its full size in 8-bit grey, upright as its file says; a null image when it is no
/// picture of a known format, damaged, cut off, or too large. Never throws.
QImage decodePhoto(QByteArrayView bytes);

} // namespace kopertal
