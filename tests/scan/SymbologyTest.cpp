#include "scan/CheckDigits.h"
#include "scan/Code128Text.h"
#include "scan/LineVotes.h"

#include <QTest>
#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>

using namespace kopertal;

namespace {

/// The symbols that the writer prints, the stop symbol left out.
std::vector<int> printed(const std::wstring& text) {
    const ZXing::BitMatrix bars =
        ZXing::MultiFormatWriter(ZXing::BarcodeFormat::Code128).setMargin(0).encode(text, 0, 0);
    std::vector<int> symbols;
    for (int start = 0; start + 13 < bars.width(); start += code128Modules) {
        std::array<int, 6> widths{};
        size_t element = 0;
        for (int x = start; x < start + code128Modules; ++x) {
            if (x > start && bars.get(x, 0) != bars.get(x - 1, 0))
                ++element;
            ++widths.at(element);
        }
        for (int symbol = 0; symbol < code128Symbols; ++symbol) {
            if (code128Widths(symbol) == widths)
                symbols.push_back(symbol);
        }
    }
    return symbols;
}

} // namespace

class SymbologyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void knowsCheckDigits_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isGs1");
        QTest::addColumn<bool>("isPostal");
        QTest::newRow("SSCC of a letter") << "00559007734000000012" << false << false;
        QTest::newRow("EAN-13") << "5901234123457" << true << false;
        QTest::newRow("EAN-13, a digit off") << "5901234123458" << false << false;
        QTest::newRow("not only digits") << "590123412345A" << false << false;
        QTest::newRow("one digit") << "0" << false << false;
        QTest::newRow("empty") << "" << false << false;
        QTest::newRow("postal union") << "RR473124829PL" << false << true;
        QTest::newRow("two digits swapped") << "RR437124829PL" << false << false;
        QTest::newRow("rest 10 gives 0") << "RR000000090PL" << false << false;
        QTest::newRow("rest 11 gives 5") << "RR000000005PL" << false << true;
        QTest::newRow("small letters") << "rr473124829pl" << false << false;
        QTest::newRow("too short") << "RR47312482PL" << false << false;
        QTest::newRow("foreign digits") << u"RR47312482\u0669PL"_qs << false << false;
    }
    void knowsCheckDigits() {
        QFETCH(QString, text);
        QTEST(hasGs1CheckDigit(text), "isGs1");
        QTEST(isPostalUnionNumber(text), "isPostal");
    }

    void readsCode128_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("digits") << "0123456789";
        QTest::newRow("every pair of digits") << [] {
            QString all;
            for (int i = 0; i < 100; ++i)
                all += QString::number(i).rightJustified(2, u'0');
            return all.first(80);
        }();
        QTest::newRow("capitals and digits") << "RR473124829PL";
        QTest::newRow("small letters") << "abcxyz~";
        QTest::newRow("signs") << " !\"#$%&'()*+,-./";
        QTest::newRow("between sets") << "a1234567b12";
        QTest::newRow("control characters") << u"A\u0001B\u001d"_qs;
    }
    void readsCode128() {
        QFETCH(QString, text);
        std::vector<int> symbols = printed(text.toStdWString());
        QCOMPARE(code128Text(symbols).value_or(QString()), text);
        symbols[1] = (symbols[1] + 1) % 90;
        QVERIFY2(!code128Text(symbols), "the check symbol is held against the text");
    }

    void leavesFunctionCharactersOut() {
        QCOMPARE(code128Text(printed(L"\u00f100559007734000000013")).value_or(QString()),
                 QStringLiteral("00559007734000000013"));
    }

    void refusesSymbolsWithoutSense() {
        QVERIFY(!code128Text({}));
        QVERIFY(!code128Text({105, 105}));
        QVERIFY(!code128Text({12, 34, 46}));
    }

    void believesOnlyAgreeingLines_data() {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("enough");
        QTest::newRow("letter") << "Code128"
                                << "RR473124829PL" << 2;
        QTest::newRow("Code 128 alone") << "Code128"
                                        << "PX12345678" << 4;
        QTest::newRow("ITF-14") << "ITF"
                                << "15901234567899" << 8;
        QTest::newRow("ITF-14 with its digit") << "ITF"
                                               << "15901234123454" << 4;
        QTest::newRow("part of an ITF") << "ITF"
                                        << "1590" << 14;
        QTest::newRow("EAN-13") << "EAN-13"
                                << "5901234123457" << 4;
        QTest::newRow("Codabar") << "Codabar"
                                 << "1234567" << 10;
    }
    void believesOnlyAgreeingLines() {
        QFETCH(QString, format);
        QFETCH(QString, text);
        QFETCH(int, enough);
        LineVotes votes;
        for (int band = 0; band < enough; ++band) {
            QVERIFY(!votes.winner());
            votes.add(band, {text, format});
            votes.add(band, {text, format}); // the same line counts once
        }
        QVERIFY(votes.winner());
        QCOMPARE(votes.winner()->reading.text, text);
        for (int band = 0; band < enough; ++band)
            votes.add(band, {text + u'1', format});
        QVERIFY2(!votes.winner(), "lines that contradict each other prove nothing");
    }
};

QTEST_GUILESS_MAIN(SymbologyTest)
#include "SymbologyTest.moc"
