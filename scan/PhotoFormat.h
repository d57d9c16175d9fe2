#pragma once

#include <QByteArrayView>

namespace kopertal {

/// The kinds of picture files that are taken for photos.
enum class PhotoFormat { unknown, jpeg, png, webp, tiff, bmp, gif, heif };

/// What the first bytes say, whatever the file was called. Everything else, vector pictures above
/// all, is unknown.
PhotoFormat photoFormat(QByteArrayView bytes);

/// False when the file ends before its own structure does. Decoders fill what is missing of such a
/// picture with grey, and its codes would go missing unnoticed. Says nothing of JPEG, TIFF and
/// HEIF, whose decoders notice.
bool isWhole(QByteArrayView bytes, PhotoFormat format);

} // namespace kopertal
