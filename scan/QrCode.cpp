#include "scan/QrCode.h"

#include <QPainter>
#include <ZXing/BitMatrix.h>
#include <ZXing/CharacterSet.h>
#include <ZXing/MultiFormatWriter.h>

#include <algorithm>
#include <exception>

namespace kopertal {
namespace {

constexpr int quietZone = 4; // modules
constexpr int levelH = 8;    // on the writer's scale

/// The modules alone; no rows when the text cannot be encoded.
ZXing::BitMatrix encode(const QString& text) {
    const bool isAscii = std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; });
    ZXing::MultiFormatWriter writer(ZXing::BarcodeFormat::QRCode);
    writer.setEccLevel(levelH).setMargin(0);
    if (!isAscii)
        writer.setEncoding(ZXing::CharacterSet::UTF8);
    try {
        return writer.encode(text.toStdString(), 0, 0);
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace

QImage makeQRCode(const QString& text, int size) {
    const ZXing::BitMatrix modules = encode(text);
    const int side = modules.width();
    const int pixels = side > 0 ? size / (side + 2 * quietZone) : 0;
    if (pixels < 1)
        return {};
    QImage image(size, size, QImage::Format_RGB32);
    if (image.isNull())
        return {};
    image.fill(Qt::white);
    const int margin = (size - side * pixels) / 2;
    QPainter painter(&image);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            if (modules.get(x, y))
                painter.fillRect(margin + x * pixels, margin + y * pixels, pixels, pixels,
                                 Qt::black);
        }
    }
    return image;
}

QStringList qrCodeLines(const QString& text) {
    const ZXing::BitMatrix modules = encode(text);
    const int side = modules.width();
    if (side == 0)
        return {};
    const auto isDark = [&](int x, int y) {
        return x >= 0 && x < side && y >= 0 && y < side && modules.get(x, y);
    };
    QStringList lines;
    for (int y = -quietZone; y < side + quietZone; y += 2) {
        QString line;
        for (int x = -quietZone; x < side + quietZone; ++x) {
            static constexpr char16_t halves[] = u" ▄▀█";
            line += QChar(halves[(isDark(x, y) ? 2 : 0) + (isDark(x, y + 1) ? 1 : 0)]);
        }
        lines.append(line);
    }
    return lines;
}

} // namespace kopertal
