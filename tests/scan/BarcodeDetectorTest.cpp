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

/// Where the printed code is, as the detector says it.
QRectF placeOf(const PlacedCode& placed, const QSizeF& photo) {
    const cv::Rect2d place = cv::boundingRect(placed.corners);
    return {place.x / photo.width(), 1 - place.br().y / photo.height(), place.width / photo.width(),
            place.height / photo.height()};
}

/// The code on paper.
cv::Mat pageWith(const CodeText& code) {
    cv::Mat page(500, 900, CV_8U, cv::Scalar(235));
    const cv::Mat bars = drawCode(code, 3, 120);
    bars.copyTo(page({cv::Point(200, 180), bars.size()}));
    return page;
}

/// What the detector reads on a picture of grey values.
QStringList textsOn(const cv::Mat& page) {
    return sortedTexts(detectBarcodes(
        QImage(page.data, page.cols, page.rows, int(page.step), QImage::Format_Grayscale8)));
}

} // namespace

class BarcodeDetectorTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsEverySymbology() {
        const CodeText codes[] = {
            {"Code128", "PX1234567890"},     {"Code39", "KP-1234567"},
            {"Code93", "KP1234567"},         {"Codabar", "123456789012"},
            {"EAN-13", "5901234123457"},     {"EAN-8", "59012344"},
            {"ITF", "15901234123454"},       {"QRCode", "https://example.org/RR473124829PL"},
            {"DataMatrix", "RR473124829PL"}, {"Aztec", "RR473124829PL"},
            {"PDF417", "RR473124829PL"}};
        for (const CodeText& code : codes)
            QCOMPARE(sortedTexts(recognizePhoto(makeScreenshot({code}).jpeg).numbers),
                     QStringList{code.format + u' ' + code.text});
    }

    void readsPhotos() {
        const PhotoRecipe recipes[] = {{1, Difficulty::easy, Subject::page, 12},
                                       {1, Difficulty::easy, Subject::closeUp, 12},
                                       {1, Difficulty::medium, Subject::codeless, 12},
                                       {323, Difficulty::medium, Subject::page,
                                        12}, // stamps over codes without a digit of their own
                                       {310, Difficulty::medium, Subject::matrices, 12}}; // aslant
        for (const PhotoRecipe& recipe : recipes) {
            const RegisterPhoto photo = makeRegisterPhoto(recipe);
            const QList<Barcode> codes = detectBarcodes(decodePhoto(photo.jpeg));
            QCOMPARE(codes.size(), photo.codes.size());
            for (const PlacedCode& placed : photo.codes) {
                const auto found = std::ranges::find(codes, placed.code.text, &Barcode::text);
                QVERIFY2(found != codes.end(), qPrintable(placed.code.text));
                QCOMPARE(found->format, placed.code.format);
                const QRectF place = placeOf(placed, photo.size);
                const QRectF common = found->box & place;
                QVERIFY2(common.width() * common.height() > 0.6 * place.width() * place.height(),
                         qPrintable(placed.code.text));
                QVERIFY(found->box.width() < 1.3 * place.width());
            }
        }
    }

    void readsAllWaysUp() {
        cv::RNG random(3);
        const CodeText letter = registeredLetter(random);
        cv::Mat upright;
        cv::copyMakeBorder(pageWith(letter), upright, 450, 450, 250, 250, cv::BORDER_REPLICATE);
        for (const int degrees : {0, 30, 90, 135, 180, 270}) {
            cv::Mat page;
            cv::warpAffine(upright, page, cv::getRotationMatrix2D({700, 700}, degrees, 1),
                           upright.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(240));
            QVERIFY2(textsOn(page) == QStringList{"Code128 " + letter.text},
                     qPrintable(QString::number(degrees)));
        }
    }

    void readsUnderStamps() {
        cv::RNG random(5);
        const CodeText letter = internationalLetter(random);
        cv::Mat page = pageWith(letter);
        const int end = 200 + drawCode(letter, 3, 1).cols;
        for (const int radius : {110, 75, 40}) // no line across is free of ink
            cv::circle(page, {430, 240}, radius, cv::Scalar(60), 9, cv::LINE_AA);
        for (const int gap : {12, 24}) // and the quiet zone looks like more bars
            cv::circle(page, {end + gap - 300, 240}, 300, cv::Scalar(60), 6, cv::LINE_AA);
        QCOMPARE(textsOn(page), QStringList{"Code128 " + letter.text});
    }

    void readsUnderPaleInk() {
        cv::RNG random(5);
        const std::pair<CodeText, int> codes[] = {{registeredLetter(random), 410},
                                                  {{"Code128", "PX1234567890"}, 270},
                                                  {{"EAN-13", "5901234123457"}, 240}};
        for (const auto& [code, x] : codes) {
            cv::Mat page = pageWith(code);
            // Along the bars, so that it lies on the same spaces on every line across.
            cv::Mat ink(page.size(), CV_8U, cv::Scalar(255));
            cv::line(ink, {x, 100}, {x + 10, 400}, cv::Scalar(90), 14, cv::LINE_AA);
            cv::multiply(page, ink, page, 1.0 / 255);
            cv::GaussianBlur(page, page, {}, 0.8);
            QCOMPARE(textsOn(page), QStringList{code.format + u' ' + code.text});
        }
    }

    void seesEqualCodesEach() {
        const CodeText twice{"Code128", "RR473124829PL"};
        const RegisterPhoto shot = makeScreenshot({twice, twice, {"Code39", "ABC-1234"}});
        const QImage picture = decodePhoto(shot.jpeg);
        // From the top, or from the left where they stand beside each other.
        for (const QImage& each : {picture, picture.transformed(QTransform().rotate(-90))})
            QCOMPARE(detectBarcodesStatic(each).result(),
                     QStringList({"RR473124829PL", "RR473124829PL", "ABC-1234"}));
        QCOMPARE(recognizePhoto(shot.jpeg).entries(),
                 QList<ScannedEntry>({{"ABC-1234", {}}, {"RR473124829PL", {}}}));
    }

    void takesAnyPicture() {
        for (const QSize& size :
             {QSize(), QSize(1, 1), QSize(5000, 1), QSize(1, 5000), QSize(11, 21)}) {
            QImage picture(size, QImage::Format_RGB32);
            picture.fill(Qt::white);
            QCOMPARE(detectBarcodesStatic(picture).result(), QStringList());
            for (int x = 0; x < picture.width(); x += 2) {
                for (int y = 0; y < picture.height(); ++y)
                    picture.setPixel(x, y, 0);
            }
            QCOMPARE(detectBarcodesStatic(picture).result(), QStringList());
        }
    }
};

QTEST_GUILESS_MAIN(BarcodeDetectorTest)
#include "BarcodeDetectorTest.moc"
