#include "tracking/TrackingTableModel.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

using namespace kopertal;

namespace {

using Model = TrackingTableModel;

TrackingResult resultOf(const QString& status, const QString& date, const QString& place) {
    TrackingResult result;
    result.status = status;
    result.events = {{date, {}, {}, {}, {}, false}};
    result.lastPlace = place;
    return result;
}

/// Its cells, the second line of the place last.
QStringList shownRow(const Model& model, int row) {
    QStringList cells;
    for (int column = 0; column < Model::columns; ++column)
        cells << model.index(row, column).data().toString();
    return cells << model.index(row, 0).data(Model::PlaceSecondLineRole).toString();
}

QList<QStringList> shownRows(const Model& model) {
    QList<QStringList> rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows << shownRow(model, row);
    return rows;
}

} // namespace

class TrackingTableModelTest : public QObject {
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

    void everyRowGetsItsOwnAnswer() {
        Model model;
        const QUuid gone = QUuid::createUuid();
        model.setRows({{{gone, {}, {}, "0"}, {}}});
        const QUuid id = QUuid::createUuid();
        model.setRows({{{id, {}, {}, "1"}, {}}, {{id, {}, {}, "2"}, {}}});
        for (const TrackingRow& row : QList(model.rows()))
            model.merge(row.id(), resultOf("of " + row.trackingNumber, "1", {}));
        model.merge(gone, resultOf("late", "1", {}));
        QCOMPARE(shownRow(model, 0)[Model::statusColumn], "of 1");
        QCOMPARE(shownRow(model, 1)[Model::statusColumn], "of 2");
    }

    void staysSortedThroughManyAnswers() {
        Model model;
        const QAbstractItemModelTester tester(
            &model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QRandomGenerator random(42);
        const auto any = [&](int below) { return QString::number(random.bounded(below)); };
        QList<TrackingRow> rows;
        for (int i = 0; i < 30; ++i)
            rows.emplaceBack(SentEntry{QUuid::createUuid(), {}, {}, any(15)}, "2025-03-14");
        model.setRows(rows);
        const QPersistentModelIndex selected = model.index(7, 0);
        const QUuid selectedId = model.rowAt(7).id();
        model.setSortOrder({{SortComparator::Field::trackingNumber, Qt::DescendingOrder},
                            {SortComparator::Field::sortableDate, Qt::AscendingOrder}});
        QList<QStringList> view = shownRows(model); // shows what is announced
        connect(&model, &Model::dataChanged, this,
                [&](const QModelIndex& first, const QModelIndex& last) {
                    for (int row = first.row(); row <= last.row(); ++row) {
                        const QStringList cells = shownRow(model, row);
                        for (int column = first.column(); column <= last.column(); ++column)
                            view[row][column] = cells[column];
                        if (last.column() == Model::placeColumn)
                            view[row].last() = cells.last();
                    }
                });
        connect(&model, &Model::rowsMoved, this,
                [&](const QModelIndex&, int from, int, const QModelIndex&, int before) {
                    view.move(from, before > from ? before - 1 : before);
                });
        for (int i = 0; i < 800; ++i) {
            const QUuid id = rows[random.bounded(30)].id();
            model.merge(id, resultOf(any(3), any(8), any(3) + u'\n' + any(3)));
            QCOMPARE(shownRows(model), view);
            QCOMPARE(model.rowAt(selected.row()).id(), selectedId);
            QList<TrackingRow> sorted = model.rows();
            std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
                return std::pair(b.trackingNumber, a.sortableDate()) <
                       std::pair(a.trackingNumber, b.sortableDate());
            });
            for (int position = 0; position < 30; ++position) {
                QCOMPARE(model.rowAt(position).id(), sorted[position].id());
                QCOMPARE(model.positionOf(sorted[position].id()), position);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TrackingTableModelTest)
#include "TrackingTableModelTest.moc"
