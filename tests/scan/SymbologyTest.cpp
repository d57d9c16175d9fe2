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
    void knowsCheckDigits() {
        QVERIFY(hasGs1CheckDigit(u"5901234123457"));
        for (const QString text :
             {"00559007734000000012", "5901234123458", "590123412345A", "0", ""})
            QVERIFY2(!hasGs1CheckDigit(text), qPrintable(text));
        for (const QString text : {"RR473124829PL", "RR000000005PL"}) // rest 11 gives 5
            QVERIFY2(isPostalUnionNumber(text), qPrintable(text));
        for (const QString text : {"RR437124829PL", "RR000000090PL", "rr473124829pl",
                                   "RR47312482PL", "RR47312482\u0669PL"})
            QVERIFY2(!isPostalUnionNumber(text), qPrintable(text));
    }

    void readsCode128() {
        QString pairs;
        for (int i = 0; i < 40; ++i)
            pairs += QString::number(i).rightJustified(2, u'0');
        const QString functionCharacter = u"\u00f1"_qs; // is left out
        for (const QString& text :
             {QString("0123456789"), pairs, QString("RR473124829PL"), QString("abcxyz~"),
              QString(" !\"#$%&'()*+,-./"), QString("a1234567b12"), QString("A\u0001B\u001d"),
              functionCharacter + "00559007734000000013"}) {
            std::vector<int> symbols = printed(text.toStdWString());
            QCOMPARE(code128Text(symbols).value_or("none"),
                     QString(text).remove(functionCharacter));
            symbols[1] = (symbols[1] + 1) % 90;
            QVERIFY2(!code128Text(symbols), "the check symbol is held against the text");
        }
        const std::vector<int> senseless[] = {{}, {105, 105}, {12, 34, 46}};
        for (const std::vector<int>& symbols : senseless)
            QVERIFY(!code128Text(symbols));
    }

    void believesOnlyAgreeingLines() {
        const struct {
            QString format, text;
            int enough;
        } cases[] = {{"Code128", "RR473124829PL", 2}, // with its check digit
                     {"Code128", "PX12345678", 4},
                     {"ITF", "1590", 14},
                     {"Codabar", "1234567", 10}};
        for (const auto& [format, text, enough] : cases) {
            LineVotes votes;
            for (int band = 0; band < enough; ++band) {
                QVERIFY2(!votes.winner(), qPrintable(text));
                votes.add(band, {text, format});
                votes.add(band, {text, format}); // the same line counts once
            }
            QVERIFY2(votes.winner(), qPrintable(text));
            QCOMPARE(votes.winner()->reading.text, text);
            for (int band = 0; band < enough; ++band)
                votes.add(band, {text + u'1', format});
            QVERIFY2(!votes.winner(), "lines that contradict each other prove nothing");
        }
    }
};

QTEST_GUILESS_MAIN(SymbologyTest)
#include "SymbologyTest.moc"
