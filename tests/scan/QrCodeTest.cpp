#include "scan/QrCode.h"

#include "tests/support/RunCommand.h"

#include <QPainter>
#include <QTemporaryDir>
#include <QTest>
#define ZX_USE_UTF8
#include <ZXing/ReadBarcode.h>

using namespace kopertal;
using namespace kopertal::test;

namespace {

/// What an independent reader finds in the picture.
QString readBack(const QImage& image) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("code.png");
    if (!image.save(path))
        return "not saved";
    return runCommand("zbarimg", {"--quiet", "--raw", "--nodbus", path}).output.chopped(1);
}

constexpr QRgb black = 0xFF000000;
constexpr QRgb white = 0xFFFFFFFF;

/// The code as a terminal shows it, a pixel each module, with its quiet zone.
QImage onATerminal(const QString& text) {
    const QStringList lines = qrCodeLines(text);
    const auto side = static_cast<int>(lines.value(0).size());
    QImage screen(side, static_cast<int>(lines.size()) * 2, QImage::Format_RGB32);
    for (int y = 0; y < screen.height(); ++y) {
        for (int x = 0; x < side; ++x) {
            const QChar cell = lines[y / 2].at(x);
            const bool isDark = cell == u'█' || cell == (y % 2 == 0 ? u'▀' : u'▄');
            screen.setPixel(x, y, isDark ? black : white);
        }
    }
    return screen.copy(0, 0, side, side);
}

/// The level of error correction that a reader finds.
std::string levelOf(const QImage& image) {
    const ZXing::ImageView pixels(image.constBits(), image.width(), image.height(),
                                  ZXing::ImageFormat::BGRX);
    return ZXing::ReadBarcode(pixels).ecLevel();
}

} // namespace

class QrCodeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isReadBack() {
        const char* const longest = "https://kopertal.example/zq/?h=biuro-ksiegowosc-parter-"
                                    "komputer-numer-17-przy-oknie-zapasowy.local&p=8745";
        QList<std::pair<QString, int>> cases;
        for (const int size : {140, 200, 280, 400, 401, 999}) {
            for (const char* text :
                 {"http://1.2.3.4:1", "http://192.168.1.10:8745", "http://192.168.100.200:54321",
                  "https://kopertal.example/zq/?h=a.local&p=8745",
                  "https://kopertal.example/zq/?h=zażółć-gęślą.local&p=8745", longest})
                cases.append({text, size});
        }
        // Every length up to the longest pairing address: a host name has at most 64 characters.
        for (int length = 1; length <= 130; ++length)
            cases.append({QString(length, u'x'), 400});
        for (const auto& [text, size] : cases) {
            const QImage image = makeQRCode(text, size);
            QCOMPARE(image.size(), QSize(size, size));
            QCOMPARE(readBack(image), text);
            QCOMPARE(levelOf(image), "H");
        }
        const QImage screen = onATerminal(cases[0].first);
        QCOMPARE(readBack(screen.scaled(screen.size() * 8)), cases[0].first);
    }

    void isCrispOnAQuietZone() {
        const QString text = QStringLiteral("http://192.168.100.200:54321");
        const QImage modules = onATerminal(text);
        QCOMPARE(modules.pixel(3, 3), white);
        QCOMPARE(modules.pixel(4, 4), black); // a finder pattern's corner
        const int side = modules.width();
        for (const int size : {side, 2 * side - 1, 3 * side, 400}) {
            const int pixels = size / side; // a module
            QImage expected(size, size, QImage::Format_RGB32);
            expected.fill(Qt::white);
            QPainter(&expected).drawImage(QPoint(1, 1) * ((size - side * pixels) / 2),
                                          modules.scaled(modules.size() * pixels));
            QCOMPARE(makeQRCode(text, size), expected);
        }
    }

    void isNullWhereThereCanBeNone() {
        QVERIFY(!makeQRCode("x", 29).isNull()); // 21 + 2 × 4 modules
        for (const int size : {28, 0, -5})
            QVERIFY(makeQRCode("x", size).isNull());
        QVERIFY(!makeQRCode(QString(1273, u'x'), 400).isNull());
        QVERIFY(makeQRCode(QString(1274, u'x'), 400).isNull());
        QVERIFY(makeQRCode({}, 400).isNull());
        QVERIFY(qrCodeLines({}).isEmpty());
    }
};

QTEST_GUILESS_MAIN(QrCodeTest)
#include "QrCodeTest.moc"
