#include "scan/QrCode.h"

#include "tests/support/RunCommand.h"

#include <QTemporaryDir>
#include <QTest>

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

} // namespace

class QrCodeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isReadBack() {
        QList<std::pair<QString, int>> cases{
            {"http://192.168.100.200:54321", 140},
            {"https://kopertal.example/zq/?h=zażółć-gęślą.local&p=8745", 401},
            {"https://kopertal.example/zq/?h=biuro-ksiegowosc-parter-komputer-numer-17-przy-oknie-"
             "zapasowy.local&p=8745",
             280}};
        // Every length up to the longest pairing address: a host name has at most 64 characters.
        for (int length = 1; length <= 130; ++length)
            cases.append({QString(length, u'x'), 400});
        for (const auto& [text, size] : cases) {
            const QImage image = makeQRCode(text, size);
            QCOMPARE(image.size(), QSize(size, size));
            QCOMPARE(readBack(image), text);
        }
    }
};

QTEST_GUILESS_MAIN(QrCodeTest)
#include "QrCodeTest.moc"
