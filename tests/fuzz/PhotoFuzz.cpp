#include "scan/PhotoDecoding.h"
#include "tests/fuzz/FuzzTarget.h"

using namespace kopertal;

void feed(QByteArrayView input) {
    const QImage photo = decodePhoto(input);
    if (photo.isNull())
        return;
    require(photo.format() == QImage::Format_Grayscale8, "a photo is grey");
    require(qint64(photo.width()) * photo.height() <= largestJpeg, "a photo is not too large");
    require(photo.copy() == photo, "every sample can be read");
}
