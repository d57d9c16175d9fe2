#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

namespace kopertal {

/// A QR code of the text's UTF-8 bytes with the highest error correction (level H), exactly `size`
/// pixels wide and high: whole pixels per module, and white around them, at least the four modules
/// that readers need. Null when the text is empty or too long for a code, or `size` for its
/// modules.
QImage makeQRCode(const QString& text, int size);

/// The same code for a terminal: lines of half blocks, two rows of modules in each, dark modules
/// as ink. Empty when there is no code.
QStringList qrCodeLines(const QString& text);

} // namespace kopertal
