#include "scan/PhotoDecoding.h"
#include "scan/PhotoPipeline.h"
#include "tests/fuzz/FuzzTarget.h"

#include <QImage>

using namespace kopertal;

/// Any bytes as a photo, some of which show a code.
void feed(QByteArrayView input) {
    const QImage photo = decodePhoto(input);
    if (photo.isNull())
        return;
    require(photo.format() == QImage::Format_Grayscale8, "a photo is grey");
    require(qint64(photo.width()) * photo.height() <= largestJpeg, "a photo is not too large");
    require(photo.copy() == photo, "every sample can be read");
    for (const Barcode& code : recognizePhoto(input).numbers)
        require(code.text == u"RR473124829PL", "no number is read that is not on the photo");
}
