#pragma once

#include "scan/Barcode.h"

#include <QImage>

#include <functional>

namespace kopertal {

/// All codes on a picture, in no particular order. Works on both processor cores. Two-dimensional
/// codes come last and are read by a library that may abort: `onLinearCodes` is told before what
/// has been found by then.
QList<Barcode> detectBarcodes(const QImage& picture,
                              const std::function<void(const QList<Barcode>&)>& onLinearCodes = {});

} // namespace kopertal
