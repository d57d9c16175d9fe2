#include "bench/photo/PlainReading.h"

#include <QFile>

#ifdef HAVE_ZBAR
#include <zbar.h>
#endif
#define ZX_USE_UTF8
#include <ZXing/ReadBarcode.h>

#include <algorithm>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QStringList readWithZXing(const QImage& grey) {
    QStringList codes;
    const ZXing::ImageView view(grey.constBits(), grey.width(), grey.height(),
                                ZXing::ImageFormat::Lum, static_cast<int>(grey.bytesPerLine()));
    for (const ZXing::Result& result : ZXing::ReadBarcodes(view))
        codes.append(QString::fromLatin1(ZXing::ToString(result.format())) + u' ' +
                     QString::fromStdString(result.text()));
    return codes;
}

#ifdef HAVE_ZBAR
QString nameOf(zbar::zbar_symbol_type_t type) {
    switch (type) {
    case zbar::ZBAR_CODE128:
        return QStringLiteral("Code128");
    case zbar::ZBAR_CODE39:
        return QStringLiteral("Code39");
    case zbar::ZBAR_CODE93:
        return QStringLiteral("Code93");
    case zbar::ZBAR_I25:
        return QStringLiteral("ITF");
    case zbar::ZBAR_QRCODE:
        return QStringLiteral("QRCode");
    default:
        return QString::fromLatin1(zbar::zbar_get_symbol_name(type)); // "EAN-13", "EAN-8", …
    }
}

QStringList readWithZBar(const QImage& grey) {
    // Without gaps between rows.
    QByteArray pixels;
    for (int y = 0; y < grey.height(); ++y)
        pixels.append(reinterpret_cast<const char*>(grey.constScanLine(y)), grey.width());
    zbar::Image image(unsigned(grey.width()), unsigned(grey.height()), "Y800", pixels.constData(),
                      static_cast<unsigned long>(pixels.size()));
    zbar::ImageScanner().scan(image);
    QStringList codes;
    for (auto symbol = image.symbol_begin(); symbol != image.symbol_end(); ++symbol)
        codes.append(nameOf(symbol->get_type()) + u' ' +
                     QString::fromStdString(symbol->get_data()));
    return codes;
}
#endif

} // namespace

std::vector<PlainReader> plainReaders() {
    return {
        {"plain ZXing", readWithZXing},
#ifdef HAVE_ZBAR
        {"plain ZBar", readWithZBar},
#endif
    };
}

std::optional<QStringList> readInChild(const PlainReader& reader, const QImage& grey) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return std::nullopt;
    const pid_t child = fork();
    if (child == 0) {
        const QByteArray text = reader.read(grey).join(u'\n').toUtf8();
        _exit(write(pipeEnds[1], text.constData(), static_cast<size_t>(text.size())) == text.size()
                  ? 0
                  : 1);
    }
    close(pipeEnds[1]);
    QFile in;
    if (!in.open(pipeEnds[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return std::nullopt;
    const QByteArray text = in.readAll();
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return std::nullopt;
    return QString::fromUtf8(text).split(u'\n', Qt::SkipEmptyParts);
}
