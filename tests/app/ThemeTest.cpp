#include "app/common/Theme.h"

#include "app/addresses/CountLine.h"

#include <QTest>

using namespace kopertal;

class ThemeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsHexadecimalColours() {
        for (const QString hex : {"#1B2A4A", "1b2a4a"})
            QCOMPARE(Color::fromHex(hex).rgba(), 0xFF1B2A4A);
        for (const QString hex : {"", "0xFFFFFF", " FFFFFF", "FF#FFF", "１２３"})
            QCOMPARE(Color::fromHex(hex).rgba(), 0xFF000000);
    }

    void countsInPolish() {
        for (const auto line : {previewCountLine, successCountLine}) {
            QCOMPARE(line(5, 1), "5 adresów  ·  1 strona");
            QCOMPARE(line(22, 3), "22 adresów  ·  3 strony");
        }
    }
};

QTEST_APPLESS_MAIN(ThemeTest)
#include "ThemeTest.moc"
