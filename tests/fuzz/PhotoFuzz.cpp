#include "scan/PhotoDecoding.h"
#include "tests/fuzz/FuzzTarget.h"

using namespace kopertal;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QImage photo = decodePhoto(QByteArrayView(data, static_cast<qsizetype>(size)));
    if (photo.isNull())
        return 0;
    require(photo.format() == QImage::Format_Grayscale8, "a photo is grey");
    require(qint64(photo.width()) * photo.height() <= largestJpeg, "a photo is not too large");
    // Every sample can be read.
    quint64 sum = 0;
    for (int y = 0; y < photo.height(); ++y) {
        const uchar* row = photo.constScanLine(y);
        for (int x = 0; x < photo.width(); ++x)
            sum += row[x];
    }
    require(sum <= quint64(255) * quint64(photo.width()) * quint64(photo.height()),
            "samples are bytes");
    return 0;
}
