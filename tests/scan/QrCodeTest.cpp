#include "scan/QrCode.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace kopertal;

namespace {

/// What an independent reader finds in the picture.
QString readBack(const QImage& image) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("code.png"));
    if (!image.save(path))
        return QStringLiteral("not saved");
    QProcess reader;
    reader.start(QStringLiteral("zbarimg"), {"--quiet", "--raw", "--nodbus", path});
    reader.waitForFinished();
    QString text = QString::fromUtf8(reader.readAllStandardOutput());
    text.chop(1); // its line end
    return text;
}

/// The width of the finder pattern's outer row, which is seven modules.
int finderWidth(const QImage& image) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            int end = x;
            while (end < image.width() && image.pixel(end, y) == 0xFF000000)
                ++end;
            if (end > x)
                return end - x;
        }
    }
    return 0;
}

/// The level in the format information beside the upper left finder pattern, unmasked.
int correctionLevel(const QImage& image) {
    const int module = finderWidth(image) / 7;
    int left = 0;
    while (image.pixel(left, left) != 0xFF000000)
        ++left; // the corner lies on the diagonal
    const auto isDark = [&](int x, int y) {
        return image.pixel(left + x * module + module / 2, left + y * module + module / 2) ==
               0xFF000000;
    };
    const int bits = (isDark(0, 8) ? 2 : 0) | (isDark(1, 8) ? 1 : 0);
    return bits ^ 0b10; // the mask 101010000010010 begins with 10
}

} // namespace

class QrCodeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isReadBack() {
        QList<std::pair<QString, int>> cases;
        for (const int size : {140, 200, 280, 400, 401, 999}) {
            for (const char* text :
                 {"http://1.2.3.4:1", "http://192.168.1.10:8745", "http://192.168.100.200:54321",
                  "https://kopertal.example/zq/?h=a.local&p=8745",
                  "https://kopertal.example/zq/?h=zażółć-gęślą.local&p=8745",
                  "https://kopertal.example/zq/"
                  "?h=biuro-ksiegowosc-parter-komputer-numer-17-przy-oknie-zapasowy.local&p=8745"})
                cases.append({text, size});
        }
        // Every length up to the longest pairing address: a host name has at most 64 characters.
        for (int length = 1; length <= 130; ++length)
            cases.append({QString(length, u'x'), 400});
        for (const auto& [text, size] : cases) {
            const QImage image = makeQRCode(text, size);
            QCOMPARE(image.size(), QSize(size, size));
            QCOMPARE(readBack(image), text);
            QCOMPARE(correctionLevel(image), 0b10); // H
        }
    }

    void isCrispOnAQuietZone() {
        const QImage image = makeQRCode(QStringLiteral("http://192.168.100.200:54321"), 400);
        const int finder = finderWidth(image);
        QCOMPARE(finder % 7, 0);
        for (int y = 0; y < 400; ++y) {
            for (int x = 0; x < 400; ++x) {
                const QRgb pixel = image.pixel(x, y);
                const bool isEdge = std::min({x, y, 399 - x, 399 - y}) < 4 * finder / 7;
                QVERIFY(pixel == 0xFFFFFFFF || (pixel == 0xFF000000 && !isEdge));
            }
        }
    }

    void isNullWhereThereCanBeNone() {
        QVERIFY(makeQRCode({}, 400).isNull());
        QVERIFY(makeQRCode(QStringLiteral("http://1.2.3.4:1"), 0).isNull());
        QVERIFY(makeQRCode(QStringLiteral("http://1.2.3.4:1"), -5).isNull());
        QVERIFY(makeQRCode(QStringLiteral("http://1.2.3.4:1"), 28).isNull()); // 21 + 2 × 4 modules
        QVERIFY(!makeQRCode(QString(1273, u'x'), 400).isNull());
        QVERIFY(makeQRCode(QString(1274, u'x'), 400).isNull());
        QVERIFY(qrCodeLines({}).isEmpty());
    }

    void isReadBackFromATerminal() {
        const QString text = QStringLiteral("http://192.168.100.200:54321");
        const QStringList lines = qrCodeLines(text);
        QImage screen(static_cast<int>(lines[0].size()), static_cast<int>(lines.size()) * 2,
                      QImage::Format_RGB32);
        screen.fill(Qt::white);
        for (int row = 0; row < lines.size(); ++row) {
            QCOMPARE(lines[row].size(), lines[0].size());
            for (int x = 0; x < screen.width(); ++x) {
                const QChar cell = lines[row][x];
                if (cell == u'▀' || cell == u'█')
                    screen.setPixel(x, 2 * row, 0xFF000000);
                if (cell == u'▄' || cell == u'█')
                    screen.setPixel(x, 2 * row + 1, 0xFF000000);
            }
        }
        QCOMPARE(readBack(screen.scaled(screen.size() * 8)), text);
    }
};

QTEST_GUILESS_MAIN(QrCodeTest)
#include "QrCodeTest.moc"
