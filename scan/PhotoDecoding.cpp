#include "scan/PhotoDecoding.h"

#include "scan/HeifDecoding.h"
#include "scan/JpegDecoding.h"
#include "scan/PhotoFormat.h"

#include <QBuffer>
#include <QImageReader>
#include <QTransform>

#include <algorithm>
#include <new>

namespace kopertal {
namespace {

constexpr int megabytesForOnePicture = largestPhoto * 4 / 1'000'000;

QByteArray readerFormat(PhotoFormat format) {
    switch (format) {
    case PhotoFormat::jpeg:
        return "jpeg";
    case PhotoFormat::png:
        return "png";
    case PhotoFormat::webp:
        return "webp";
    case PhotoFormat::tiff:
        return "tiff";
    case PhotoFormat::bmp:
        return "bmp";
    default:
        return "gif";
    }
}

/// On white paper where the picture is transparent. Works on strips: a whole copy would double the
/// memory.
QImage toGrey(const QImage& picture) {
    if (picture.isNull() || picture.format() == QImage::Format_Grayscale8)
        return picture;
    constexpr int strip = 64;
    QImage grey(picture.size(), QImage::Format_Grayscale8);
    if (grey.isNull())
        return {};
    for (int top = 0; top < picture.height(); top += strip) {
        const QImage rows =
            picture.copy(0, top, picture.width(), std::min(strip, picture.height() - top))
                .convertToFormat(QImage::Format_ARGB32);
        if (rows.isNull())
            return {};
        for (int y = 0; y < rows.height(); ++y) {
            const auto* from = reinterpret_cast<const QRgb*>(rows.constScanLine(y));
            std::transform(from, from + rows.width(), grey.scanLine(top + y), [](QRgb pixel) {
                return static_cast<uchar>(255 - (255 - qGray(pixel)) * qAlpha(pixel) / 255);
            });
        }
    }
    return grey;
}

QImage turned(const QImage& picture, QImageIOHandler::Transformations how) {
    QImage result = picture;
    if (how & (QImageIOHandler::TransformationMirror | QImageIOHandler::TransformationFlip))
        result = result.mirrored(how & QImageIOHandler::TransformationMirror,
                                 how & QImageIOHandler::TransformationFlip);
    if (how & QImageIOHandler::TransformationRotate90)
        result = result.transformed(QTransform().rotate(90));
    return result;
}

QImage decode(QByteArrayView bytes) {
    const PhotoFormat format = photoFormat(bytes);
    if (format == PhotoFormat::unknown || !isWhole(bytes, format))
        return {};
    if (format == PhotoFormat::heif)
        return decodeHeif(bytes, largestPhoto);

    QByteArray shared = QByteArray::fromRawData(bytes.data(), bytes.size());
    QBuffer buffer(&shared);
    QImageReader::setAllocationLimit(megabytesForOnePicture);
    QImageReader reader(&buffer, readerFormat(format));
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(false);
    const QImageIOHandler::Transformations upright = reader.transformation();
    if (format == PhotoFormat::jpeg)
        return turned(decodeJpeg(bytes, largestJpeg), upright);
    const QSize size = reader.size();
    if (!size.isValid() || qint64(size.width()) * size.height() > largestPhoto)
        return {};
    return turned(toGrey(reader.read()), upright);
}

} // namespace

QImage decodePhoto(QByteArrayView bytes) {
    try {
        return decode(bytes);
    } catch (const std::bad_alloc&) {
        return {};
    }
}

} // namespace kopertal
