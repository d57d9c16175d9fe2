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

    void announcesOnlyWhatIsShownDifferently() {
        m_model->setRows(rowsOf({"1", "2", "3"}));
        const QUuid id = m_model->rowAt(1).id();
        QStringList announced;
        connect(m_model.get(), &Model::dataChanged, this,
                [&](const QModelIndex& first, const QModelIndex& last) {
                    QVERIFY(first.row() == 1 && last.row() == 1);
                    announced << QString("%1-%2").arg(first.column()).arg(last.column());
                });
        connect(m_model.get(), &Model::rowChanged, this,
                [&](const QUuid& changed) { announced << (changed == id ? "it" : "another"); });
        TrackingResult heavier = resultOf("doręczono", "6", "a\nb");
        heavier.masa = "1"; // only in the details
        const std::pair<TrackingResult, QString> cases[] = {
            {resultOf("doręczono", "5", "a\nb"), "2-4 it"},
            {resultOf("doręczono", "5", "a\nc"), "4-4 it"},
            {resultOf("doręczono", "6", "a\nc"), "3-3 it"},
            {resultOf("doręczono", "6", "a\nb"), "4-4 it"},
            {heavier, "it"},
            {heavier, ""}};
        for (const auto& [result, expected] : cases) {
            announced.clear();
            m_model->merge(id, result);
            QCOMPARE(announced.join(u' '), expected);
        }
        m_model->merge(QUuid::createUuid(), resultOf("x", "7"));
        QCOMPARE(announced, QStringList());
        QCOMPARE(m_model->index(1, Model::statusColumn).data(Model::StatusColorRole).toInt(),
                 int(StatusColor::success));
        const QModelIndex place = m_model->index(1, Model::placeColumn);
        QCOMPARE(place.data(), "a");
        QCOMPARE(place.data(Model::PlaceSecondLineRole), "b");
    }

    void aRowMovesWhenItsDateDoes() {
        m_model->setRows(rowsOf({"1", "2", "3", "4"}));
        m_model->sort(Model::dateColumn);
        const QPersistentModelIndex selected = m_model->index(0, 1);
        QSignalSpy data(m_model.get(), &QAbstractItemModel::dataChanged);
        QSignalSpy moved(m_model.get(), &QAbstractItemModel::rowsMoved);
        QStringList announcedAt;
        connect(m_model.get(), &QAbstractItemModel::rowsAboutToBeMoved, this,
                [&] { announcedAt = column(Model::statusColumn); });
        m_model->merge(m_model->rowAt(0).id(), resultOf("A", "5"));
        QCOMPARE(announcedAt, QStringList({"—", "—", "—", "—"})); // nothing has changed yet
        QCOMPARE(column(Model::trackingNumberColumn), QStringList({"2", "3", "4", "1"}));
        QCOMPARE(moved.size(), 1);
        QCOMPARE(data.size(), 2); // the row numbers; what the row shows
        QCOMPARE(selected.row(), 3);
    }

    void rowsOfOneIdentityGetEachItsAnswer() {
        const QUuid id = QUuid::createUuid();
        m_model->setRows({{{id, {}, {}, "1"}, {}}, {{id, {}, {}, "2"}, {}}});
        for (const TrackingRow& row : QList(m_model->rows()))
            m_model->merge(row.id(), resultOf("of " + row.trackingNumber, "1"));
        QCOMPARE(column(Model::statusColumn), QStringList({"of 1", "of 2"}));
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
        QRandomGenerator random(42);
        QStringList numbers;
        for (int i = 0; i < 60; ++i)
            numbers << QString::number(random.bounded(30));
        for (const auto& [order, stands] : cases) {
            m_model->setRows(rowsOf(numbers));
            m_model->setSortOrder(order);
            for (int i = 0; i < 400; ++i) {
                const QUuid id = m_model->rows()[random.bounded(60)].id();
                m_model->merge(id, resultOf("A", QString::number(random.bounded(8))));
                QList<Row> sorted = m_model->rows();
                std::stable_sort(sorted.begin(), sorted.end(), stands);
                for (int position = 0; position < 60; ++position) {
                    QCOMPARE(m_model->rowAt(position).id(), sorted[position].id());
                    QCOMPARE(m_model->positionOf(sorted[position].id()), position);
                }
            }
        }
    }

private:
    QStringList column(int number) const {
        QStringList texts;
        for (int row = 0; row < m_model->rowCount(); ++row)
            texts << m_model->index(row, number).data().toString();
        return texts;
    }

    std::unique_ptr<Model> m_model;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

QTEST_GUILESS_MAIN(TrackingTableModelTest)
#include "TrackingTableModelTest.moc"
