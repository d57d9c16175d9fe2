#pragma once

#include <QByteArrayView>
#include <QImage>

namespace kopertal {

/// A HEIC, HEIF or AVIF in 8-bit grey, upright. A null image when it has more than `largest`
/// pixels, is damaged or ends too early.
QImage decodeHeif(QByteArrayView bytes, qint64 largest);

} // namespace kopertal
