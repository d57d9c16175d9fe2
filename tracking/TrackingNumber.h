#pragma once

#include <QString>

namespace kopertal {

/// The one normalisation of a shipment number, wherever it comes from: without control characters,
/// without spaces at the ends, without the application identifier "(00)" that labels print before
/// it. May be empty.
QString cleanBarcode(const QString& text);

} // namespace kopertal
