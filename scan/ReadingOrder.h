#pragma once

#include "scan/Barcode.h"

namespace kopertal {

/// The codes as one reads them: from left to right when they are spread more across than down, else
/// from top to bottom. Equal places keep their order.
QList<Barcode> inReadingOrder(QList<Barcode> codes);

} // namespace kopertal
