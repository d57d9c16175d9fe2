#include "scan/PhotoDecoding.h"
#include "tests/fuzz/FuzzTarget.h"

using namespace kopertal;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QImage photo = decodePhoto(QByteArrayView(data, static_cast<qsizetype>(size)));
    if (photo.isNull())
        return 0;
    require(photo.format() == QImage::Format_Grayscale8, "a photo is grey");
    require(qint64(photo.width()) * photo.height() <= largestJpeg, "a photo is not too large");
    require(photo.copy() == photo, "every sample can be read");
    return 0;
}
