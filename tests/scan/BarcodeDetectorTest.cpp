#include "scan/BarcodeDetector.h"

#include "scan/PhotoDecoding.h"
#include "scan/PhotoPipeline.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QTest>

using namespace kopertal;
using namespace kopertal::test;

namespace {

QStringList sortedTexts(const auto& codes) {
    QStringList result;
    for (const auto& code : codes)
        result.append(code.format + u' ' + code.text);
    result.sort();
    return result;
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
                     sortedTexts(QList{code}));
    }

    void readsPhotos() {
        // The fourth has stamps over codes without a digit of their own, the fifth lies aslant; in
        // the last, a letter's number is read only by comparing symbols.
        const PhotoRecipe recipes[] = {
            {1, Difficulty::easy, Subject::page},         {1, Difficulty::easy, Subject::closeUp},
            {1, Difficulty::medium, Subject::codeless},   {323, Difficulty::medium, Subject::page},
            {310, Difficulty::medium, Subject::matrices}, {330, Difficulty::hard, Subject::page}};
        for (const PhotoRecipe& recipe : recipes) {
            const RegisterPhoto photo = makeRegisterPhoto(recipe);
            QList<CodeText> printed;
            for (const PlacedCode& placed : photo.codes)
                printed.append(placed.code);
            QCOMPARE(sortedTexts(detectBarcodes(decodePhoto(photo.jpeg))), sortedTexts(printed));
        }
    }

    void readsAllWaysUp() {
        const CodeText letter{"Code128", "00559007734000000017"};
        const QImage picture = decodePhoto(makeScreenshot({letter, letter}).jpeg);
        for (const int degrees : {0, 30, 90, 135, 180, 270}) {
            const QImage turned =
                picture.transformed(QTransform().rotate(degrees), Qt::SmoothTransformation);
            QCOMPARE(detectBarcodesStatic(turned).result(),
                     QStringList({letter.text, letter.text}));
        }
    }
};

QTEST_GUILESS_MAIN(BarcodeDetectorTest)
#include "BarcodeDetectorTest.moc"
