#include "scan/PhotoDecoding.h"

#include "tests/support/photo/RegisterPhoto.h"

#include <QBuffer>
#include <QFile>
#include <QTest>
#include <opencv2/imgproc.hpp>

using namespace kopertal;
using namespace kopertal::test;

namespace {

/// Dark on its left half, with noise so that files are of some size.
cv::Mat picture() {
    cv::Mat grey(120, 200, CV_8U, cv::Scalar(220));
    grey.colRange(0, 100) = cv::Scalar(40);
    cv::Mat noise(grey.size(), CV_8U);
    cv::RNG random(7);
    random.fill(noise, cv::RNG::UNIFORM, 0, 20);
    return grey + noise;
}

/// The picture; what only few can write is kept as a file.
QByteArray encoded(const QByteArray& format) {
    QFile kept(QStringLiteral(KOPERTAL_SOURCE_DIR "/tests/fuzz/corpus/Photo/half-dark.") + format);
    return kept.open(QIODevice::ReadOnly) ? kept.readAll() : encodePage(picture(), format);
}

/// An orientation as cameras note it, put behind the first marker of a JPEG.
QByteArray withOrientation(QByteArray jpeg, char orientation) {
    QByteArray exif = QByteArray::fromHex(
        "ffe100224578696600004d4d002a00000008000101120003000000010000000000000000");
    exif[29] = orientation;
    return jpeg.insert(2, exif);
}

QByteArray overwritten(QByteArray bytes, qsizetype at, const QByteArray& hex) {
    return bytes.replace(at, hex.size() / 2, QByteArray::fromHex(hex));
}

} // namespace

class PhotoDecodingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decodesToGrey_data() {
        QTest::addColumn<QByteArray>("bytes");
        for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp", "gif", "heic", "avif"})
            QTest::newRow(format) << encoded(format);
    }
    void decodesToGrey() {
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const QImage photo = decodePhoto(bytes);
        QCOMPARE(photo.size(), QSize(200, 120));
        QCOMPARE(photo.format(), QImage::Format_Grayscale8);
        QVERIFY(qGray(photo.pixel(50, 60)) < 80);
        QVERIFY(qGray(photo.pixel(150, 60)) > 180);
        for (const int part : {1, 10, 50, 75, 95}) {
            const QByteArray cut = bytes.first(bytes.size() * part / 100);
            QVERIFY2(decodePhoto(cut).isNull(), qPrintable(QString::number(part)));
        }
    }

    void takesWhatCamerasAppend() {
        QVERIFY(!decodePhoto(encoded("jpeg") + "\r\n--boundary--\r\n").isNull());
    }

    void refusesOtherFiles() {
        const QByteArray png = encoded("png");
        const QByteArray jpeg = encoded("jpeg");
        const qsizetype frame = jpeg.indexOf("\xff\xc0");
        const QByteArray files[] = {
            "",
            "RR473124829PL",
            R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><rect width="9"/></svg>)",
            "P5 2 2 255 abcd",
            "\xff\xd8\xff",
            overwritten(png, 16, "000186a0000186a0"), // 100 000 × 100 000 pixels
            overwritten(png, 16, "00001f4100001f40"), // 8 001 × 8 000
            overwritten(jpeg, frame + 5, "ffdcffdc"), // 65 500 × 65 500
            QByteArray(jpeg).remove(jpeg.size() / 2, jpeg.size() / 4)};
        for (const QByteArray& file : files)
            QVERIFY2(decodePhoto(file).isNull(), file.first(qMin(file.size(), 24)).toHex());
    }

    void turnsPhotosUpright() {
        const struct {
            char orientation;
            QSize size;
            QPoint dark;
        } cases[] = {{1, {200, 120}, {50, 60}},
                     {3, {200, 120}, {150, 60}},
                     {6, {120, 200}, {60, 50}},
                     {8, {120, 200}, {60, 150}}};
        for (const auto& [orientation, size, dark] : cases) {
            const QImage photo = decodePhoto(withOrientation(encoded("jpeg"), orientation));
            QCOMPARE(photo.size(), size);
            QVERIFY(qGray(photo.pixel(dark)) < 80);
        }
    }

    void layTransparentPicturesOnPaper() {
        QImage picture(40, 40, QImage::Format_ARGB32);
        picture.fill(Qt::transparent);
        picture.setPixelColor(20, 20, Qt::black);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QVERIFY(picture.save(&buffer, "png"));
        const QImage photo = decodePhoto(bytes);
        QCOMPARE(qGray(photo.pixel(0, 0)), 255);
        QCOMPARE(qGray(photo.pixel(20, 20)), 0);
    }
};

QTEST_GUILESS_MAIN(PhotoDecodingTest)
#include "PhotoDecodingTest.moc"
