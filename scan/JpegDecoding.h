#pragma once

#include <QByteArrayView>
#include <QImage>

namespace kopertal {

/// A JPEG in 8-bit grey as it is stored, without the detour over colours. A null image when it has
/// more than `largest` pixels, is damaged or ends too early.
QImage decodeJpeg(QByteArrayView bytes, qint64 largest);

} // namespace kopertal
