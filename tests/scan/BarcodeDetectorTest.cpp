#include "scan/BarcodeDetector.h"

#include "scan/PhotoDecoding.h"
#include "scan/PhotoPipeline.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QTest>
#include <opencv2/imgproc.hpp>

#include <algorithm>

using namespace kopertal;
using namespace kopertal::test;

namespace {

QStringList sortedTexts(const QList<Barcode>& codes) {
    QStringList result;
    for (const Barcode& code : codes)
        result.append(code.format + u' ' + code.text);
    result.sort();
    return result;
}

QStringList sortedTexts(const QList<PlacedCode>& codes) {
    QStringList result;
    for (const PlacedCode& placed : codes)
        result.append(placed.code.format + u' ' + placed.code.text);
    result.sort();
    return result;
}

/// Where the printed code is, as the detector says it.
QRectF placeOf(const PlacedCode& placed, const QSize& photo) {
    const auto [left, right] = std::ranges::minmax(placed.corners, {}, &cv::Point2f::x);
    const auto [top, bottom] = std::ranges::minmax(placed.corners, {}, &cv::Point2f::y);
    const QSizeF size(photo);
    return QRectF(QPointF(double(left.x) / size.width(), 1 - double(bottom.y) / size.height()),
                  QPointF(double(right.x) / size.width(), 1 - double(top.y) / size.height()));
}

CodeText code(const char* format, const char* text) {
    return {QString::fromLatin1(format), QString::fromLatin1(text)};
}

} // namespace

class BarcodeDetectorTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsEverySymbology_data() {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* format, const char* text) {
            QTest::newRow(format) << QString(format) << QString(text);
        };
        row("Code128", "PX1234567890");
        row("Code39", "KP-1234567");
        row("Code93", "KP1234567");
        row("Codabar", "123456789012");
        row("EAN-13", "5901234123457");
        row("EAN-8", "59012344");
        row("ITF", "15901234123454");
        row("QRCode", "https://example.org/RR473124829PL");
        row("DataMatrix", "RR473124829PL");
        row("Aztec", "RR473124829PL");
        row("PDF417", "RR473124829PL");
    }
    void readsEverySymbology() {
        QFETCH(QString, format);
        QFETCH(QString, text);
        const RegisterPhoto shot = makeScreenshot({{format, text}});
        const PhotoResult result = recognizePhoto(shot.jpeg);
        QCOMPARE(sortedTexts(result.numbers), QStringList{format + u' ' + text});
    }

    void readsPhotos_data() {
        QTest::addColumn<int>("seed");
        QTest::addColumn<int>("difficulty");
        QTest::addColumn<int>("subject");
        QTest::newRow("page") << 1 << int(Difficulty::easy) << int(Subject::page);
        QTest::newRow("label that fills the frame")
            << 1 << int(Difficulty::easy) << int(Subject::closeUp);
        QTest::newRow("page without codes")
            << 1 << int(Difficulty::medium) << int(Subject::codeless);
        QTest::newRow("stamps over codes without a digit of their own")
            << 323 << int(Difficulty::medium) << int(Subject::page);
        QTest::newRow("two-dimensional codes, aslant")
            << 310 << int(Difficulty::medium) << int(Subject::matrices);
    }
    void readsPhotos() {
        QFETCH(int, seed);
        QFETCH(int, difficulty);
        QFETCH(int, subject);
        const RegisterPhoto photo =
            makeRegisterPhoto({static_cast<quint64>(seed), static_cast<Difficulty>(difficulty),
                               static_cast<Subject>(subject), 12});
        const QList<Barcode> codes = detectBarcodes(decodePhoto(photo.jpeg));
        QCOMPARE(sortedTexts(codes), sortedTexts(photo.codes));
        for (const PlacedCode& placed : photo.codes) {
            const auto found = std::ranges::find(codes, placed.code.text, &Barcode::text);
            const QRectF place = placeOf(placed, photo.size);
            const QRectF common = found->box & place;
            QVERIFY2(common.width() * common.height() > 0.6 * place.width() * place.height(),
                     qPrintable(placed.code.text));
            QVERIFY(found->box.width() < 1.3 * place.width());
        }
    }

    void readsAllWaysUp_data() {
        QTest::addColumn<int>("degrees");
        for (const int degrees : {0, 30, 90, 135, 180, 270})
            QTest::newRow(qPrintable(QString::number(degrees))) << degrees;
    }
    void readsAllWaysUp() {
        QFETCH(int, degrees);
        cv::RNG random(3);
        cv::Mat page(1400, 1400, CV_8U, cv::Scalar(240));
        const CodeText letter = registeredLetter(random);
        const cv::Mat bars = drawCode(letter, 4, 150);
        bars.copyTo(page({cv::Point(380, 600), bars.size()}));
        cv::warpAffine(page, page, cv::getRotationMatrix2D({700, 700}, degrees, 1), page.size(),
                       cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(240));
        const QImage photo(page.data, page.cols, page.rows, int(page.step),
                           QImage::Format_Grayscale8);
        QCOMPARE(sortedTexts(detectBarcodes(photo)), QStringList{"Code128 " + letter.text});
    }

    void readsThroughAStamp() {
        cv::RNG random(5);
        const CodeText letter = internationalLetter(random);
        cv::Mat page(500, 900, CV_8U, cv::Scalar(235));
        const cv::Mat bars = drawCode(letter, 3, 120);
        bars.copyTo(page({cv::Point(200, 180), bars.size()}));
        for (const int radius : {110, 75, 40}) // no line across is free of ink
            cv::circle(page, {430, 240}, radius, cv::Scalar(60), 9, cv::LINE_AA);
        const QImage photo(page.data, page.cols, page.rows, int(page.step),
                           QImage::Format_Grayscale8);
        QCOMPARE(sortedTexts(detectBarcodes(photo)), QStringList{"Code128 " + letter.text});
    }

    void seesEqualCodesEach() {
        const CodeText twice = code("Code128", "RR473124829PL");
        const RegisterPhoto shot = makeScreenshot({twice, code("Code39", "ABC-1234"), twice});
        const QFuture<QStringList> texts = detectBarcodesStatic(decodePhoto(shot.jpeg));
        QCOMPARE(texts.result(), QStringList({"RR473124829PL", "ABC-1234", "RR473124829PL"}));
        QCOMPARE(recognizePhoto(shot.jpeg).entries(),
                 QList<ScannedEntry>({{"ABC-1234", {}}, {"RR473124829PL", {}}}));
    }

    void takesAnyPicture_data() {
        QTest::addColumn<QSize>("size");
        QTest::newRow("none") << QSize();
        QTest::newRow("a pixel") << QSize(1, 1);
        QTest::newRow("a line") << QSize(5000, 1);
        QTest::newRow("a column") << QSize(1, 5000);
        QTest::newRow("small") << QSize(11, 21);
    }
    void takesAnyPicture() {
        QFETCH(QSize, size);
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::white);
        QCOMPARE(detectBarcodesStatic(picture).result(), QStringList());
        for (int x = 0; x < picture.width(); x += 2) {
            for (int y = 0; y < picture.height(); ++y)
                picture.setPixel(x, y, 0);
        }
        QCOMPARE(detectBarcodesStatic(picture).result(), QStringList());
    }
};

QTEST_GUILESS_MAIN(BarcodeDetectorTest)
#include "BarcodeDetectorTest.moc"
