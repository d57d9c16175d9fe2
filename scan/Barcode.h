#pragma once

#include <QList>
#include <QRectF>
#include <QString>

namespace kopertal {

/// A code that was found and read.
struct Barcode {
    QString text;   ///< As encoded, control characters included.
    QString format; ///< "Code128", "QRCode", …
    QRectF box;     ///< Around the code, from 0 to 1 on both axes, the origin at the lower left.
};

} // namespace kopertal
