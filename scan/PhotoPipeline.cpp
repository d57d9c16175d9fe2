#include "scan/PhotoPipeline.h"

#include "scan/BarcodeDetector.h"
#include "scan/PhotoDecoding.h"
#include "scan/ReadingOrder.h"

#include <QtConcurrentRun>

#include <exception>

namespace kopertal {
namespace {

QList<Barcode> detectQuietly(const QImage& picture,
                             const std::function<void(const QList<Barcode>&)>& onLinearCodes) {
    try {
        return inReadingOrder(detectBarcodes(picture, onLinearCodes));
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace

QFuture<QStringList> detectBarcodesStatic(const QImage& picture) {
    return QtConcurrent::run([picture] {
        QStringList texts;
        for (const Barcode& code : detectQuietly(picture, {})) {
            if (!code.text.isEmpty())
                texts.append(code.text);
        }
        return texts;
    });
}

PhotoResult recognizePhoto(QByteArrayView bytes,
                           const std::function<void(const PhotoResult&)>& onProgress) {
    const QImage picture = decodePhoto(bytes);
    if (picture.isNull())
        return {};
    const auto tell = [&](const QList<Barcode>& codes) {
        if (onProgress)
            onProgress(toPhotoResult(inReadingOrder(codes)));
    };
    tell({});
    return toPhotoResult(detectQuietly(picture, tell));
}

} // namespace kopertal
