#include "tracking/TrackingTableModel.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

using namespace kopertal;

namespace {

TrackingResult resultOf(const QString& status, const QString& date, const QString& place = {}) {
    TrackingResult result;
    result.status = status;
    TrackingEvent event;
    event.time = date;
    result.events = {event};
    result.lastPlace = place;
    return result;
}

QList<TrackingRow> rowsOf(const QStringList& numbers) {
    QList<TrackingRow> rows;
    for (const QString& number : numbers)
        rows.emplaceBack(SentEntry{QUuid::createUuid(), {}, {}, number}, "2025-03-14");
    return rows;
}

QStringList column(const TrackingTableModel& model, int number) {
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts << model.index(row, number).data().toString();
    return texts;
}

} // namespace

class TrackingTableModelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_model = std::make_unique<TrackingTableModel>();
        m_tester = std::make_unique<QAbstractItemModelTester>(
            m_model.get(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    }

    void cleanup() {
        m_tester.reset();
        m_model.reset();
    }

    void showsRowsByNumberAtFirst() {
        m_model->setRows(rowsOf({"9", "10", ""}));
        QCOMPARE(column(*m_model, 0), QStringList({"1", "2", "3"}));
        QCOMPARE(column(*m_model, 1), QStringList({"—", "10", "9"}));
        for (const int unknown : {2, 3, 4})
            QCOMPARE(column(*m_model, unknown), QStringList({"—", "—", "—"}));
        QStringList titles;
        for (int i = 0; i < m_model->columnCount(); ++i)
            titles << m_model->headerData(i, Qt::Horizontal).toString();
        QCOMPARE(titles, QStringList({"Lp.", "Nr nadawczy", "Status", "Data statusu",
                                      "Ostatnia placówka"}));
        QVERIFY(m_model->contains("10"));
        QVERIFY(!m_model->contains("1"));
    }

    void announcesOnlyWhatIsShownDifferently() {
        m_model->setRows(rowsOf({"1", "2", "3"}));
        const QUuid id = m_model->rowAt(1).id();
        QSignalSpy data(m_model.get(), &QAbstractItemModel::dataChanged);
        QSignalSpy layout(m_model.get(), &QAbstractItemModel::layoutChanged);
        QSignalSpy moved(m_model.get(), &QAbstractItemModel::rowsMoved);
        QSignalSpy reset(m_model.get(), &QAbstractItemModel::modelReset);
        QSignalSpy row(m_model.get(), &TrackingTableModel::rowChanged);
        const auto expectChange = [&](int first, int last) {
            QCOMPARE(data.size(), 1);
            const QList<QVariant> arguments = data.takeFirst();
            QCOMPARE(arguments[0].toModelIndex(), m_model->index(1, first));
            QCOMPARE(arguments[1].toModelIndex(), m_model->index(1, last));
            QCOMPARE(row.size(), 1);
            QCOMPARE(row.takeFirst()[0].toUuid(), id);
        };

        m_model->merge(id, resultOf("doręczono", "5", "a\nb"));
        expectChange(TrackingTableModel::statusColumn, TrackingTableModel::placeColumn);
        QCOMPARE(m_model->index(1, 2).data(TrackingTableModel::StatusColorRole).toInt(),
                 static_cast<int>(StatusColor::success));
        QCOMPARE(m_model->index(1, 4).data(), "a");
        QCOMPARE(m_model->index(1, 4).data(TrackingTableModel::PlaceSecondLineRole), "b");
        m_model->merge(id, resultOf("doręczono", "5", "a\nc"));
        expectChange(TrackingTableModel::placeColumn, TrackingTableModel::placeColumn);
        m_model->merge(id, resultOf("doręczono", "5", "a\nb"));
        expectChange(TrackingTableModel::placeColumn, TrackingTableModel::placeColumn);
        m_model->merge(id, resultOf("doręczono", "6", "a\nb"));
        expectChange(TrackingTableModel::dateColumn, TrackingTableModel::dateColumn);

        TrackingResult heavier = resultOf("doręczono", "6", "a\nb");
        heavier.masa = "1";
        m_model->merge(id, heavier);
        QCOMPARE(row.size(), 1); // for the details
        m_model->merge(id, heavier);
        QCOMPARE(row.size(), 1);
        m_model->merge(QUuid::createUuid(), resultOf("x", "7"));
        QCOMPARE(row.size(), 1);
        QCOMPARE(data.size() + layout.size() + moved.size() + reset.size(), 0);
    }

    void aRowMovesWhenItsDateDoes() {
        m_model->setRows(rowsOf({"1", "2", "3", "4"}));
        m_model->sort(TrackingTableModel::dateColumn);
        const QUuid id = m_model->rowAt(0).id();
        const QPersistentModelIndex selected = m_model->index(0, 1);
        QSignalSpy data(m_model.get(), &QAbstractItemModel::dataChanged);
        QSignalSpy moved(m_model.get(), &QAbstractItemModel::rowsMoved);
        QStringList announcedAt;
        connect(m_model.get(), &QAbstractItemModel::rowsAboutToBeMoved, this,
                [&] { announcedAt = column(*m_model, 2) + column(*m_model, 3); });
        const QStringList before = column(*m_model, 2) + column(*m_model, 3);
        m_model->merge(id, resultOf("A", "5"));
        QCOMPARE(announcedAt, before); // nothing has changed yet
        QCOMPARE(column(*m_model, 1), QStringList({"2", "3", "4", "1"}));
        QCOMPARE(column(*m_model, 0), QStringList({"1", "2", "3", "4"}));
        QCOMPARE(moved.size(), 1);
        QCOMPARE(data.size(), 2); // the row numbers; what the row shows
        QCOMPARE(selected.row(), 3);
        QCOMPARE(m_model->positionOf(id), 3);
    }

    void sortsByTwoColumnsOnly() {
        m_model->setRows(rowsOf({"2", "1", "3"}));
        m_model->merge(m_model->rows()[0].id(), resultOf("A", "9"));
        m_model->sort(TrackingTableModel::trackingNumberColumn, Qt::DescendingOrder);
        const QPersistentModelIndex three = m_model->index(0, 1);
        QCOMPARE(column(*m_model, 1), QStringList({"3", "2", "1"}));
        for (const int other : {-1, 0, 2, 4, 5})
            m_model->sort(other);
        QCOMPARE(column(*m_model, 1), QStringList({"3", "2", "1"}));
        m_model->sort(TrackingTableModel::dateColumn, Qt::DescendingOrder);
        QCOMPARE(column(*m_model, 1), QStringList({"2", "1", "3"}));
        QCOMPARE(three.row(), 2);
        QCOMPARE(m_model->positionOf(m_model->rows()[0].id()), 0);
        QCOMPARE(m_model->positionOf(QUuid()), std::nullopt);
    }

    void newRowsReplaceTheOldOnes() {
        m_model->setRows(rowsOf({"1"}));
        const QUuid old = m_model->rowAt(0).id();
        m_model->merge(old, resultOf("A", "1"));
        m_model->setRows(rowsOf({"2", "1"}));
        QCOMPARE(column(*m_model, 2), QStringList({"—", "—"}));
        m_model->merge(old, resultOf("A", "1"));
        QCOMPARE(column(*m_model, 2), QStringList({"—", "—"}));
        m_model->setRows({});
        QCOMPARE(m_model->rowCount(), 0);

        const QList<TrackingRow> twins{{{old, {}, {}, "1"}, {}}, {{old, {}, {}, "2"}, {}}};
        m_model->setRows(twins);
        for (const TrackingRow& row : QList(m_model->rows()))
            m_model->merge(row.id(), resultOf("of " + row.trackingNumber, "1"));
        QCOMPARE(column(*m_model, 2), QStringList({"of 1", "of 2"}));
    }

    void staysSortedThroughManyAnswers() {
        using Model = TrackingTableModel;
        const std::pair<Model::Column, Qt::SortOrder> cases[] = {
            {Model::trackingNumberColumn, Qt::AscendingOrder},
            {Model::dateColumn, Qt::AscendingOrder},
            {Model::dateColumn, Qt::DescendingOrder}};
        QRandomGenerator random(42);
        QStringList numbers;
        for (int i = 0; i < 60; ++i)
            numbers << QString::number(random.bounded(30));
        for (const auto& [column, order] : cases) {
            m_model->setRows(rowsOf(numbers));
            m_model->sort(column, order);
            for (int i = 0; i < 400; ++i) {
                const QUuid id = m_model->rows()[random.bounded(60)].id();
                m_model->merge(id, resultOf("A", QString::number(random.bounded(8))));
                const std::vector<int> sorted = sortedRows(m_model->rows(), m_model->sortOrder());
                for (int position = 0; position < 60; ++position) {
                    const TrackingRow& row = m_model->rows()[sorted[size_t(position)]];
                    QCOMPARE(m_model->rowAt(position).id(), row.id());
                    QCOMPARE(m_model->positionOf(row.id()), position);
                }
            }
        }
    }

private:
    std::unique_ptr<TrackingTableModel> m_model;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

QTEST_GUILESS_MAIN(TrackingTableModelTest)
#include "TrackingTableModelTest.moc"
