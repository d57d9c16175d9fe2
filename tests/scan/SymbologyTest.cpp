#include "scan/Code128Text.h"
#include "scan/LineVotes.h"

#include <QTest>

using namespace kopertal;

class SymbologyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsCode128() {
        const std::pair<QString, std::vector<int>> codes[] = {
            {"00559007734000000017", {105, 102, 0, 55, 90, 7, 73, 40, 0, 0, 0, 17, 24}},
            {"RR473124829PL", {104, 50, 50, 99, 47, 31, 24, 82, 100, 25, 48, 44, 99}},
            {"A\u0001aB", {103, 33, 65, 98, 65, 34, 63}}}; // a: shifted
        for (const auto& [text, symbols] : codes) {
            QCOMPARE(code128Text(symbols).value_or("none"), text);
            for (size_t i = 0; i < symbols.size(); ++i) {
                std::vector<int> misread = symbols;
                misread[i] = (misread[i] + 1) % 90;
                QVERIFY2(!code128Text(misread), "the check symbol is held against the text");
            }
        }
        for (const auto& senseless : std::vector<std::vector<int>>{{}, {105, 105}, {12, 34, 46}})
            QVERIFY(!code128Text(senseless));
    }

    void believesOnlyAgreeingLines() {
        const std::pair<LineReading, int> cases[] = {
            {{"RR473124829PL", "Code128"}, 2}, // with its check digit
            {{"RR000000005PL", "Code128"}, 2}, // for which there is a rule of its own
            {{"00559007734000000017", "Code128"}, 2},
            {{"RR437124829PL", "Code128"}, 4},
            {{"00559007734000000012", "Code128"}, 4},
            {{"PX12345678", "Code128"}, 4},
            {{"1590", "ITF"}, 14},
            {{"1234567", "Codabar"}, 10}};
        for (const auto& [reading, enough] : cases) {
            LineVotes votes;
            for (int band = 0; band < enough; ++band) {
                QVERIFY2(!votes.winner(), qPrintable(reading.text));
                votes.add(band, reading);
                votes.add(band, reading); // the same line counts once
            }
            QVERIFY2(votes.winner(), qPrintable(reading.text));
            QCOMPARE(votes.winner()->reading.text, reading.text);
            for (int band = 0; band < enough; ++band)
                votes.add(band, {reading.text + u'1', reading.format});
            QVERIFY2(!votes.winner(), "lines that contradict each other prove nothing");
        }
    }
};

QTEST_GUILESS_MAIN(SymbologyTest)
#include "SymbologyTest.moc"
