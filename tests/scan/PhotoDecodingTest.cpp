#include "scan/PhotoDecoding.h"

#include "tests/support/Files.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QTest>

using namespace kopertal;
using namespace kopertal::test;

namespace {

/// A picture that is dark on its left half, with noise so that its file is of some size. What only
/// few programs can write is kept as a file.
QByteArray encoded(const QByteArray& format) {
    const QByteArray kept =
        contentsOf(KOPERTAL_SOURCE_DIR "/tests/fuzz/corpus/Photo/half-dark." + format);
    if (!kept.isEmpty())
        return kept;
    cv::Mat grey(120, 200, CV_8U);
    cv::randu(grey.colRange(0, 100), 40, 60);
    cv::randu(grey.colRange(100, 200), 220, 240);
    return encodePage(grey, format);
}

QByteArray overwritten(QByteArray bytes, qsizetype at, const QByteArray& hex) {
    return bytes.replace(at, hex.size() / 2, QByteArray::fromHex(hex));
}

} // namespace

class PhotoDecodingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decodesToGrey() {
        for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp", "gif", "heic", "avif"}) {
            const QByteArray bytes = encoded(format);
            const QImage photo = decodePhoto(bytes);
            QVERIFY2(photo.size() == QSize(200, 120), format);
            QVERIFY2(photo.format() == QImage::Format_Grayscale8, format);
            QVERIFY2(qGray(photo.pixel(50, 60)) < 80, format);
            QVERIFY2(qGray(photo.pixel(150, 60)) > 180, format);
            for (const int part : {1, 10, 50, 75, 95})
                QVERIFY2(decodePhoto(bytes.first(bytes.size() * part / 100)).isNull(), format);
        }
        QVERIFY(!decodePhoto(encoded("jpeg") + "\r\n--boundary--\r\n").isNull());
    }

    void refusesOtherFiles() {
        const QByteArray png = encoded("png");
        const QByteArray jpeg = encoded("jpeg");
        const qsizetype frame = jpeg.indexOf("\xff\xc0");
        const QByteArray files[] = {
            R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><rect width="9"/></svg>)",
            "\xff\xd8\xff",
            overwritten(png, 16, "000186a0000186a0"), // 100 000 × 100 000 pixels
            overwritten(png, 16, "00001f4100001f40"), // 8 001 × 8 000
            overwritten(jpeg, frame + 5, "ffdcffdc"), // 65 500 × 65 500
            QByteArray(jpeg).remove(jpeg.size() / 2, jpeg.size() / 4)};
        for (const QByteArray& file : files)
            QVERIFY2(decodePhoto(file).isNull(), file.first(qMin(file.size(), 24)).toHex());
    }
};

QTEST_GUILESS_MAIN(PhotoDecodingTest)
#include "PhotoDecodingTest.moc"
