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

    void aFinalEventGivesTheDate_data() {
        QTest::addColumn<QList<TrackingEvent>>("events");
        QTest::addColumn<QString>("sortable");
        QTest::addColumn<QString>("shown");
        using Events = QList<TrackingEvent>;
        QTest::newRow("none") << Events{} << ""
                              << "—";
        QTest::newRow("the final one")
            << Events{eventAt("9"), eventAt("2", true), eventAt("8")} << "2"
            << "2";
        QTest::newRow("the first final one")
            << Events{eventAt("3", true), eventAt("4", true)} << "3"
            << "3";
        QTest::newRow("the last") << Events{eventAt("9"), eventAt("1")} << "1"
                                  << "1";
        QTest::newRow("an event without a time") << Events{eventAt("")} << ""
                                                 << "";
    }

    void aFinalEventGivesTheDate() {
        QFETCH(QList<TrackingEvent>, events);
        TrackingRow row = rowOf("1");
        row.setEvents(events);
        QTEST(row.sortableDate(), "sortable");
        QTEST(statusDate(row), "shown");
    }

    void coloursFollowTheStatus_data() {
        QTest::addColumn<QString>("status");
        QTest::addColumn<int>("color");
        const auto row = [](const char* status, StatusColor color) {
            QTest::newRow(status) << status << static_cast<int>(color);
        };
        row("", StatusColor::mainText);
        row("Awizowana — doręczono", StatusColor::success);
        row("Doręczona", StatusColor::success);
        row("Doręczono", StatusColor::mainText);
        row("przed doręczeniem", StatusColor::systemOrange);
        row("W doręczeni", StatusColor::systemOrange);
        row("doręczeni i doręczono", StatusColor::success);
        row("Błąd sieci", StatusColor::systemRed);
        row("błąd", StatusColor::mainText);
        row("Nie znaleziono", StatusColor::systemRed);
        row("transport drogowy", StatusColor::systemOrange);
        row("W transporcie", StatusColor::mainText);
        row("Transport", StatusColor::mainText);
        row("transport, Błąd", StatusColor::systemRed);
        row("Nadanie", StatusColor::mainText);
    }

    void coloursFollowTheStatus() {
        QFETCH(QString, status);
        QTEST(static_cast<int>(statusColor(status)), "color");
    }

    void placesHaveTwoLines_data() {
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("none") << ""
                              << "—"
                              << "";
        QTest::newRow("one") << "a"
                             << "a"
                             << "";
        QTest::newRow("two") << "a\nb"
                             << "a"
                             << "b";
        QTest::newRow("the rest is the second") << "a\nb\nc"
                                                << "a"
                                                << "b\nc";
    }

    void placesHaveTwoLines() {
        QFETCH(QString, place);
        QTEST(placeLines(place).first, "first");
        QTEST(placeLines(place).second, "second");
    }

    void textsCompareByScalars_data() {
        QTest::addColumn<QString>("low");
        QTest::addColumn<QString>("high");
        QTest::newRow("text order") << "10"
                                    << "9";
        QTest::newRow("prefix") << "1"
                                << "10";
        QTest::newRow("empty first") << ""
                                     << "\u0001";
        QTest::newRow("case") << "Z"
                              << "a";
        QTest::newRow("no language") << "z"
                                     << "ą";
        QTest::newRow("private use before higher planes") << "\uffee"
                                                          << "\U0001F4E6";
        QTest::newRow("within higher planes") << "\U0001F4E6"
                                              << "\U00020000";
        QTest::newRow("composed after normalisation") << "a\u0301"
                                                      << "ą";
    }

    void textsCompareByScalars() {
        QFETCH(QString, low);
        QFETCH(QString, high);
        QVERIFY(compareScalars(low, high) < 0);
        QVERIFY(compareScalars(high, low) > 0);
        QCOMPARE(compareScalars(high, high), 0);
    }

    void canonicallyEqualTextsAreEqual() {
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
