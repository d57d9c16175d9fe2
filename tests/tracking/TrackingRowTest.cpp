#include "tracking/TrackingRow.h"

#include "tracking/TrackingSort.h"

#include <QTest>

using namespace kopertal;

class TrackingRowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void resultsReplaceOnlyWhatIsTheirs() {
        TrackingRow row({QUuid::createUuid(), "Jan", "Gdańsk", "1"}, "2025-03-14");
        const TrackingRow before = row;
        row.merge({"S", "L", "R", "M", "D", "UN", "UP", true, {{"5", {}, {}, {}, {}, false}}, "P"});
        QCOMPARE(QStringList({row.status, row.lastEvent, row.rodzajPrzesylki, row.masa,
                              row.dataNadaniaAPI, row.urzadNadania, row.urzadPrzeznaczenia,
                              row.lastPlace, row.sortableDate()}),
                 QStringList({"S", "L", "R", "M", "D", "UN", "UP", "P", "5"}));
        QVERIFY(row.zakonczonoObsluge);
        row.merge({});
        QCOMPARE(row, before); // the date too
    }

    void coloursFollowTheStatus() {
        const std::pair<StatusColor, QStringList> cases[] = {
            {StatusColor::mainText,
             {"", "Doręczono", "błąd", "W transporcie", "Transport", "Nadanie"}},
            {StatusColor::success, {"Awizowana — doręczono", "Doręczona", "doręczeni i doręczono"}},
            {StatusColor::systemOrange, {"przed doręczeniem", "W doręczeni", "transport drogowy"}},
            {StatusColor::systemRed, {"Błąd sieci", "Nie znaleziono", "transport, Błąd"}}};
        for (const auto& [color, statuses] : cases) {
            for (const QString& status : statuses)
                QVERIFY2(statusColor(status) == color, qPrintable(status));
        }
    }

    void textsCompareByScalars() {
        const QStringList ascending{"",  "\u0001",  "1", "10",     "9",          "Z",         "a",
                                    "z", "a\u0301", "ą", "\uffee", "\U0001F4E6", "\U00020000"};
        for (qsizetype i = 1; i < ascending.size(); ++i) {
            const QString& low = ascending[i - 1];
            const QString& high = ascending[i];
            QVERIFY2(compareScalars(low, high) < 0 && compareScalars(high, low) > 0,
                     qPrintable(low + u' ' + high));
        }
        QCOMPARE(compareScalars("ą", "a\u0328"), 0);
        QCOMPARE(compareScalars("\u2126", "\u03a9"), 0); // ohm
    }
};

QTEST_APPLESS_MAIN(TrackingRowTest)
#include "TrackingRowTest.moc"
