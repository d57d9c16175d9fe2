#include "tracking/TrackingTableModel.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <functional>

using namespace kopertal;

namespace {

TrackingResult resultOf(const QString& status, const QString& date, const QString& place = {}) {
    TrackingResult result;
    result.status = status;
    result.events = {{date, {}, {}, {}, {}, false}};
    result.lastPlace = place;
    return result;
}

QList<TrackingRow> rowsOf(const QStringList& numbers) {
    QList<TrackingRow> rows;
    for (const QString& number : numbers)
        rows.emplaceBack(SentEntry{QUuid::createUuid(), {}, {}, number}, "2025-03-14");
    return rows;
}

} // namespace

class TrackingTableModelTest : public QObject {
    Q_OBJECT

    using Model = TrackingTableModel;

private Q_SLOTS:
    void init() {
        m_tester.reset();
        m_model = std::make_unique<Model>();
        m_tester = std::make_unique<QAbstractItemModelTester>(
            m_model.get(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    }

    void rowsAreChangedByWhatOnlyTheDetailsShow() {
        m_model->setRows(rowsOf({"1"}));
        const QUuid id = m_model->rowAt(0).id();
        TrackingResult result = resultOf("doręczono", "6", "a\nb");
        m_model->merge(id, result);
        QCOMPARE(m_model->index(0, 0).data(Model::StatusColorRole), int(StatusColor::success));
        const QSignalSpy shown(m_model.get(), &QAbstractItemModel::dataChanged);
        const QSignalSpy row(m_model.get(), &Model::rowChanged);
        result.masa = "1";
        m_model->merge(id, result);
        m_model->merge(id, result); // nothing new
        QCOMPARE(shown.size(), 0);
        QCOMPARE(row.size(), 1);
        QCOMPARE(row[0][0].toUuid(), id);
    }

    void everyRowGetsItsOwnAnswer() {
        m_model->setRows(rowsOf({"0"}));
        const QUuid gone = m_model->rowAt(0).id();
        const QUuid id = QUuid::createUuid();
        m_model->setRows({{{id, {}, {}, "1"}, {}}, {{id, {}, {}, "2"}, {}}});
        for (const TrackingRow& row : QList(m_model->rows()))
            m_model->merge(row.id(), resultOf("of " + row.trackingNumber, "1"));
        m_model->merge(gone, resultOf("late", "1"));
        QCOMPARE(shownRow(0)[Model::statusColumn], "of 1");
        QCOMPARE(shownRow(1)[Model::statusColumn], "of 2");
    }

    void staysSortedThroughManyAnswers() {
        using Row = TrackingRow;
        constexpr auto number = SortComparator::Field::trackingNumber;
        constexpr auto date = SortComparator::Field::sortableDate;
        const std::pair<SortOrder, std::function<bool(const Row&, const Row&)>> cases[] = {
            {{{number, Qt::AscendingOrder}},
             [](const Row& a, const Row& b) { return a.trackingNumber < b.trackingNumber; }},
            {{{date, Qt::DescendingOrder}},
             [](const Row& a, const Row& b) { return a.sortableDate() > b.sortableDate(); }},
            {{{number, Qt::DescendingOrder}, {date, Qt::AscendingOrder}},
             [](const Row& a, const Row& b) {
                 return std::pair(b.trackingNumber, a.sortableDate()) <
                        std::pair(a.trackingNumber, b.sortableDate());
             }}};
        QList<QStringList> view; // shows what is announced
        connect(m_model.get(), &Model::dataChanged, this,
                [&](const QModelIndex& first, const QModelIndex& last) {
                    for (const QModelIndex& cell : {first, last}) // no more than what differs
                        QVERIFY(view[cell.row()][cell.column()] !=
                                shownRow(cell.row())[cell.column()]);
                    for (int row = first.row(); row <= last.row(); ++row) {
                        for (int column = first.column(); column <= last.column(); ++column)
                            view[row][column] = shownRow(row)[column];
                    }
                });
        connect(m_model.get(), &Model::rowsAboutToBeMoved, this,
                [&] { QCOMPARE(shownRows(), view); });
        connect(m_model.get(), &Model::rowsMoved, this,
                [&](const QModelIndex&, int from, int, const QModelIndex&, int before) {
                    view.move(from, before > from ? before - 1 : before);
                });
        QRandomGenerator random(42);
        const auto any = [&](int below) { return QString::number(random.bounded(below)); };
        for (const auto& [order, stands] : cases) {
            QStringList numbers;
            for (int i = 0; i < 30; ++i)
                numbers << any(15);
            m_model->setRows(rowsOf(numbers));
            const QPersistentModelIndex selected = m_model->index(7, 0);
            const QUuid selectedId = m_model->rowAt(7).id();
            m_model->setSortOrder(order);
            for (const int other : {-1, 0, 2, 4, 5})
                m_model->sort(other);
            view = shownRows();
            for (int i = 0; i < 400; ++i) {
                const QUuid id = m_model->rows()[random.bounded(30)].id();
                m_model->merge(id, resultOf(any(3), any(8), any(3) + u'\n' + any(3)));
                QCOMPARE(shownRows(), view);
                QCOMPARE(m_model->rowAt(selected.row()).id(), selectedId);
                QList<Row> sorted = m_model->rows();
                std::stable_sort(sorted.begin(), sorted.end(), stands);
                for (int position = 0; position < 30; ++position) {
                    QCOMPARE(m_model->rowAt(position).id(), sorted[position].id());
                    QCOMPARE(m_model->positionOf(sorted[position].id()), position);
                }
            }
        }
    }

private:
    /// Its cells, the second line of the place last.
    QStringList shownRow(int row) const {
        QStringList cells;
        for (int column = 0; column < Model::columns; ++column)
            cells << m_model->index(row, column).data().toString();
        cells.last() += u'|' + m_model->index(row, 0).data(Model::PlaceSecondLineRole).toString();
        return cells;
    }

    QList<QStringList> shownRows() const {
        QList<QStringList> rows;
        for (int row = 0; row < m_model->rowCount(); ++row)
            rows << shownRow(row);
        return rows;
    }

    std::unique_ptr<Model> m_model;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

QTEST_GUILESS_MAIN(TrackingTableModelTest)
#include "TrackingTableModelTest.moc"
