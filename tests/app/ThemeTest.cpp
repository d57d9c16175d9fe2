#include "app/shell/Theme.h"

#include "app/addresses/CountLine.h"

#include <QTest>

using namespace kopertal;

class ThemeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsHexadecimalColours_data() {
        QTest::addColumn<QString>("hex");
        QTest::addColumn<uint>("rgb");
        QTest::newRow("with number sign") << "#1B2A4A" << 0x1B2A4AU;
        QTest::newRow("without") << "1b2a4a" << 0x1B2A4AU;
        QTest::newRow("signs at both ends") << "##1B2A4A#" << 0x1B2A4AU;
        QTest::newRow("three digits are a number") << "#FFF" << 0x000FFFU;
        QTest::newRow("high digits are ignored") << "FFFFFFFFFF123456" << 0x123456U;
        QTest::newRow("more than 64 bits") << "1FFFFFFFFFF123456" << 0U;
        QTest::newRow("empty") << "" << 0U;
        QTest::newRow("prefix") << "0xFFFFFF" << 0U;
        QTest::newRow("blank") << " FFFFFF" << 0U;
        QTest::newRow("sign inside") << "FF#FFF" << 0U;
        QTest::newRow("other script's digits") << "１２３" << 0U;
    }

    void readsHexadecimalColours() {
        QFETCH(QString, hex);
        QFETCH(uint, rgb);
        const QColor color = Color::fromHex(hex);
        QCOMPARE(color.rgb() & 0xffffff, rgb);
        QCOMPARE(color.alpha(), 255);
    }

    void countsInPolish_data() {
        QTest::addColumn<int>("pages");
        QTest::addColumn<QString>("preview");
        QTest::addColumn<QString>("success");
        QTest::newRow("1") << 1 << "1 adres  ·  1 strona"
                           << "1 adres  ·  1 strona";
        QTest::newRow("3") << 1 << "3 adresy  ·  1 strona"
                           << "3 adresów  ·  1 strona";
        QTest::newRow("5") << 1 << "5 adresów  ·  1 strona"
                           << "5 adresów  ·  1 strona";
        QTest::newRow("22") << 3 << "22 adresów  ·  3 strony"
                            << "22 adresów  ·  3 strony";
        QTest::newRow("50") << 5 << "50 adresów  ·  5 strony"
                            << "50 adresów  ·  5 strony";
    }

    void countsInPolish() {
        QFETCH(int, pages);
        const int count = QByteArray(QTest::currentDataTag()).toInt();
        QTEST(previewCountLine(count, pages), "preview");
        QTEST(successCountLine(count, pages), "success");
    }
};

QTEST_APPLESS_MAIN(ThemeTest)
#include "ThemeTest.moc"
