#include "app/shell/Theme.h"

#include "app/addresses/CountLine.h"

#include <QTest>

using namespace kopertal;

class ThemeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsHexadecimalColours() {
        const std::pair<const char*, unsigned> cases[] = {{"#1B2A4A", 0x1B2A4A},
                                                          {"1b2a4a", 0x1B2A4A},
                                                          {"##1B2A4A#", 0x1B2A4A},
                                                          {"#FFF", 0x000FFF},
                                                          {"FFFFFFFFFF123456", 0x123456},
                                                          {"1FFFFFFFFFF123456", 0},
                                                          {"", 0},
                                                          {"0xFFFFFF", 0},
                                                          {" FFFFFF", 0},
                                                          {"FF#FFF", 0},
                                                          {"１２３", 0}};
        for (const auto& [hex, rgb] : cases)
            QVERIFY2(Color::fromHex(QString(hex)).rgb() == (0xFF000000 | rgb), hex);
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
