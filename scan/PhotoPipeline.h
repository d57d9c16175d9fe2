#pragma once

#include "scan/PhotoResult.h"

#include <QByteArrayView>
#include <QFuture>
#include <QImage>
#include <QStringList>

#include <functional>

namespace kopertal {

/// The texts of all codes on a picture, in reading order. Works on another thread and never fails:
/// a picture that makes trouble has no codes. The library that reads may end the process on
/// pictures made to do so: what comes from outside goes through PhotoRecognizer.
QFuture<QStringList> detectBarcodesStatic(const QImage& picture);

/// From a photo's bytes to its numbers, here and now. `onProgress` is told what the result would be
/// if nothing more was found. Never throws.
PhotoResult recognizePhoto(QByteArrayView bytes,
                           const std::function<void(const PhotoResult&)>& onProgress = {});

} // namespace kopertal
