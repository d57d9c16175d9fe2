#include "scan/PhotoDecoding.h"

#include "scan/PhotoFormat.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QBuffer>
#include <QTest>
#include <QtEndian>
#include <libheif/heif.h>
#include <opencv2/imgproc.hpp>

using namespace kopertal;
using namespace kopertal::test;

/// The encoder behind libheif keeps some of its memory.
extern "C" __attribute__((visibility("default"))) const char*
__lsan_default_suppressions() { // NOLINT: the sanitizer's name
    return "leak:libx265";
}

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

/// In a format of ISO's family; empty when the library cannot write it.
QByteArray encodeHeif(heif_compression_format format) {
    heif_context* context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    QByteArray bytes;
    if (heif_context_get_encoder_for_format(context, format, &encoder).code == heif_error_Ok) {
        const cv::Mat grey = picture();
        heif_image* image = nullptr;
        heif_image_create(grey.cols, grey.rows, heif_colorspace_RGB, heif_chroma_interleaved_RGB,
                          &image);
        heif_image_add_plane(image, heif_channel_interleaved, grey.cols, grey.rows, 8);
        int stride = 0;
        uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
        for (int y = 0; y < grey.rows; ++y) {
            for (int x = 0; x < grey.cols * 3; ++x)
                plane[y * stride + x] = grey.at<uchar>(y, x / 3);
        }
        heif_image_handle* handle = nullptr;
        heif_context_encode_image(context, image, encoder, nullptr, &handle);
        heif_writer writer{1, [](heif_context*, const void* data, size_t size, void* to) {
                               *static_cast<QByteArray*>(to) =
                                   QByteArray(static_cast<const char*>(data), qsizetype(size));
                               return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
                           }};
        heif_context_write(context, &writer, &bytes);
        heif_image_handle_release(handle);
        heif_image_release(image);
        heif_encoder_release(encoder);
    }
    heif_context_free(context);
    return bytes;
}

/// One frame of 2 × 1 pixels, black and white.
const QByteArray gif = QByteArray::fromHex("47494638396102000100800000000000ffffff"
                                           "2c000000000200010000020244"
                                           "0a003b");

QByteArray encoded(const QByteArray& format) {
    if (format == "heic")
        return encodeHeif(heif_compression_HEVC);
    if (format == "avif")
        return encodeHeif(heif_compression_AV1);
    return encodePage(picture(), format);
}

const QList<QByteArray> formats{"jpeg", "png", "webp", "tiff", "bmp", "heic", "avif"};

/// An orientation as cameras note it, put behind the first marker of a JPEG.
QByteArray withOrientation(QByteArray jpeg, char orientation) {
    QByteArray exif = QByteArray::fromHex(
        "ffe100224578696600004d4d002a00000008000101120003000000010000000000000000");
    exif[29] = orientation;
    return jpeg.insert(2, exif);
}

QByteArray pngClaiming(quint32 width, quint32 height) {
    QByteArray png = encodePage(picture(), "png");
    qToBigEndian(width, png.data() + 16);
    qToBigEndian(height, png.data() + 20);
    return png;
}

QByteArray jpegClaiming(quint16 width, quint16 height) {
    QByteArray jpeg = encodePage(picture(), "jpeg");
    const qsizetype frame = jpeg.indexOf("\xff\xc0");
    qToBigEndian(height, jpeg.data() + frame + 5);
    qToBigEndian(width, jpeg.data() + frame + 7);
    return jpeg;
}

} // namespace

class PhotoDecodingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decodesToGrey_data() {
        QTest::addColumn<QByteArray>("bytes");
        for (const QByteArray& format : formats)
            QTest::newRow(format.constData()) << encoded(format);
    }
    void decodesToGrey() {
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const QImage photo = decodePhoto(bytes);
        QCOMPARE(photo.size(), QSize(200, 120));
        QCOMPARE(photo.format(), QImage::Format_Grayscale8);
        QVERIFY(qGray(photo.pixel(50, 60)) < 80);
        QVERIFY(qGray(photo.pixel(150, 60)) > 180);
    }

    void decodesGif() {
        const QImage photo = decodePhoto(gif);
        QCOMPARE(photo.size(), QSize(2, 1));
        QVERIFY(decodePhoto(gif.chopped(3)).isNull());
    }

    void refusesCutOffFiles_data() { decodesToGrey_data(); }
    void refusesCutOffFiles() {
        QFETCH(QByteArray, bytes);
        for (const int part : {1, 10, 50, 75, 95}) {
            const QByteArray cut = bytes.first(bytes.size() * part / 100);
            QVERIFY2(decodePhoto(cut).isNull(), qPrintable(QString::number(part)));
        }
    }

    void refusesDamagedJpeg() {
        QByteArray bytes = encoded("jpeg");
        const qsizetype middle = bytes.size() / 2;
        bytes.remove(middle, bytes.size() / 4);
        QVERIFY2(decodePhoto(bytes).isNull(), "a part is missing in the middle");
    }

    void takesWhatCamerasAppend() {
        QVERIFY(!decodePhoto(encoded("jpeg") + "\r\n--boundary--\r\n").isNull());
    }

    void refusesOtherFiles_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text") << QByteArray("RR473124829PL");
        QTest::newRow("drawing") << QByteArray(
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"><rect width=\"9\" "
            "height=\"9\"/></svg>");
        QTest::newRow("portable map") << QByteArray("P5 2 2 255 abcd");
        QTest::newRow("JPEG's marker alone") << QByteArray("\xff\xd8\xff");
        QTest::newRow("huge PNG") << pngClaiming(100'000, 100'000);
        QTest::newRow("huge JPEG") << jpegClaiming(65'500, 65'500);
        QTest::newRow("just too large PNG") << pngClaiming(8'001, 8'000);
    }
    void refusesOtherFiles() {
        QFETCH(QByteArray, bytes);
        QVERIFY(decodePhoto(bytes).isNull());
    }

    void turnsPhotosUpright_data() {
        QTest::addColumn<int>("orientation");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QPoint>("dark");
        QTest::newRow("upright") << 1 << QSize(200, 120) << QPoint(50, 60);
        QTest::newRow("upside down") << 3 << QSize(200, 120) << QPoint(150, 60);
        QTest::newRow("turned right") << 6 << QSize(120, 200) << QPoint(60, 50);
        QTest::newRow("turned left") << 8 << QSize(120, 200) << QPoint(60, 150);
    }
    void turnsPhotosUpright() {
        QFETCH(int, orientation);
        QFETCH(QSize, size);
        QFETCH(QPoint, dark);
        const QImage photo = decodePhoto(withOrientation(encoded("jpeg"), char(orientation)));
        QCOMPARE(photo.size(), size);
        QVERIFY(qGray(photo.pixel(dark)) < 80);
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
