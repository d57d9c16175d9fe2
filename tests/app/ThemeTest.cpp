#include "app/common/Theme.h"

#include "app/addresses/CountLine.h"

#include <QTest>

using namespace kopertal;

class ThemeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsHexadecimalColours() {
        for (const QString hex : {"#1B2A4A", "1b2a4a", "##1B2A4A#", "FFFFFFFFFF1B2A4A"})
            QVERIFY2(Color::fromHex(hex).rgba() == 0xFF1B2A4A, qPrintable(hex));
        QCOMPARE(Color::fromHex(u"#FFF").rgba(), 0xFF000FFF); // three digits are a number
        for (const QString hex :
             {"1FFFFFFFFFF123456", "", "0xFFFFFF", " FFFFFF", "FF#FFF", "１２３"})
            QVERIFY2(Color::fromHex(hex).rgba() == 0xFF000000, qPrintable(hex));
    }

    void countsInPolish() {
        QCOMPARE(previewCountLine(1, 1), "1 adres  ·  1 strona");
        QCOMPARE(successCountLine(1, 1), "1 adres  ·  1 strona");
        QCOMPARE(previewCountLine(3, 1), "3 adresy  ·  1 strona");
        QCOMPARE(successCountLine(3, 1), "3 adresów  ·  1 strona");
        for (const auto line : {previewCountLine, successCountLine}) {
            QCOMPARE(line(5, 1), "5 adresów  ·  1 strona");
            QCOMPARE(line(22, 3), "22 adresów  ·  3 strony");
            QCOMPARE(line(50, 5), "50 adresów  ·  5 strony");
        }
    }
};

QTEST_APPLESS_MAIN(ThemeTest)
#include "ThemeTest.moc"
