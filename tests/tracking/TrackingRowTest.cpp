#include "tracking/TrackingRow.h"

#include "tracking/TrackingSort.h"

#include <QTest>

using namespace kopertal;

namespace {

TrackingEvent eventAt(const QString& time, bool isFinal = false) {
    TrackingEvent event;
    event.time = time;
    event.isFinal = isFinal;
    return event;
}

TrackingRow rowOf(const QString& number, const QString& date = {}) {
    TrackingRow row(SentEntry{QUuid::createUuid(), {}, {}, number}, {});
    if (!date.isEmpty())
        row.setEvents({eventAt(date)});
    return row;
}

} // namespace

class TrackingRowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rowsFollowTheRegister() {
        const SentEntry a{QUuid::createUuid(), "Jan", "Gdańsk", "1"};
        const SentEntry b{QUuid::createUuid(), "", "", "2"};
        const SentEntry c{QUuid::createUuid(), "", "", "0"};
        const QList<TrackingRow> rows = trackingRows({{{}, "2025-03-14", {a, b}, {}},
                                                      {{}, "2025-03-15", {}, {}},
                                                      {{}, "2025-03-13", {c}, {}}});
        QCOMPARE(rows.size(), 3);
        QCOMPARE(rows[0], TrackingRow(a, "2025-03-14"));
        QCOMPARE(rows[0].id(), a.id);
        QCOMPARE(rows[0].name, "Jan");
        QCOMPARE(rows[0].address, "Gdańsk");
        QCOMPARE(rows[2], TrackingRow(c, "2025-03-13"));
    }

    void resultsReplaceOnlyWhatIsTheirs() {
        TrackingRow row(SentEntry{QUuid::createUuid(), "Jan", "Gdańsk", "1"}, "2025-03-14");
        const TrackingRow before = row;
        row.merge({"S", "L", "R", "M", "D", "UN", "UP", true, {eventAt("5")}, "P"});
        QCOMPARE(QStringList({row.status, row.lastEvent, row.rodzajPrzesylki, row.masa,
                              row.dataNadaniaAPI, row.urzadNadania, row.urzadPrzeznaczenia,
                              row.lastPlace, row.sortableDate()}),
                 QStringList({"S", "L", "R", "M", "D", "UN", "UP", "P", "5"}));
        QVERIFY(row.zakonczonoObsluge);
        row.merge({});
        QCOMPARE(row, before); // the date too
    }

    void aFinalEventGivesTheDate() {
        const struct {
            QList<TrackingEvent> events;
            QString sortable, shown;
        } cases[] = {{{}, "", "—"},
                     {{eventAt("9"), eventAt("2", true), eventAt("8")}, "2", "2"},
                     {{eventAt("3", true), eventAt("4", true)}, "3", "3"},
                     {{eventAt("9"), eventAt("1")}, "1", "1"},
                     {{eventAt("")}, "", ""}};
        for (const auto& [events, sortable, shown] : cases) {
            TrackingRow row = rowOf("1");
            row.setEvents(events);
            QCOMPARE(row.sortableDate(), sortable);
            QCOMPARE(statusDate(row), shown);
        }
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

    void placesHaveTwoLines() {
        const QStringList cases[] = {
            {"", "—", ""}, {"a", "a", ""}, {"a\nb", "a", "b"}, {"a\nb\nc", "a", "b\nc"}};
        for (const QStringList& place : cases)
            QCOMPARE(QStringList({placeLines(place[0]).first, placeLines(place[0]).second}),
                     place.sliced(1));
    }

    void textsCompareByScalars() {
        const std::pair<QString, QString> cases[] = {
            {"10", "9"},
            {"1", "10"},
            {"", "\u0001"},
            {"Z", "a"},
            {"z", "ą"},
            {"\uffee", "\U0001F4E6"}, // private use before higher planes
            {"\U0001F4E6", "\U00020000"},
            {"a\u0301", "ą"}}; // composed after normalisation
        for (const auto& [low, high] : cases) {
            QVERIFY2(compareScalars(low, high) < 0 && compareScalars(high, low) > 0,
                     qPrintable(low + u' ' + high));
        }
        QCOMPARE(compareScalars("ą", "a\u0328"), 0);
        QCOMPARE(compareScalars("\u2126", "\u03a9"), 0); // ohm
    }

    void equalRowsKeepTheRegistersOrder() {
        using Field = SortComparator::Field;
        const QList<TrackingRow> rows{rowOf("2", "b"), rowOf("1", "a"), rowOf("2", "a"),
                                      rowOf("1")};
        const auto sorted = [&](const SortOrder& order) { return sortedRows(rows, order); };
        using Indices = std::vector<int>;
        QCOMPARE(sorted({{Field::trackingNumber, Qt::AscendingOrder}}), (Indices{1, 3, 0, 2}));
        QCOMPARE(sorted({{Field::trackingNumber, Qt::DescendingOrder}}), (Indices{0, 2, 1, 3}));
        QCOMPARE(sorted({{Field::sortableDate, Qt::AscendingOrder}}), (Indices{3, 1, 2, 0}));
        QCOMPARE(sorted({{Field::trackingNumber, Qt::DescendingOrder},
                         {Field::sortableDate, Qt::AscendingOrder}}),
                 (Indices{2, 0, 3, 1}));
        QCOMPARE(sorted({}), (Indices{0, 1, 2, 3}));
    }
};

QTEST_APPLESS_MAIN(TrackingRowTest)
#include "TrackingRowTest.moc"
