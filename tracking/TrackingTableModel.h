#pragma once

#include "tracking/TrackingRow.h"
#include "tracking/TrackingSort.h"

#include <QAbstractTableModel>
#include <QHash>

#include <optional>
#include <vector>

namespace kopertal {

/// The tracking table's rows in their sorted order.
class TrackingTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { rowNumberColumn, trackingNumberColumn, statusColumn, dateColumn, placeColumn };
    static constexpr int columns = 5;

    /// Besides the display role, in every column. The display role of the place is its first line.
    enum Role {
        StatusColorRole = Qt::UserRole, ///< StatusColor, as an int
        PlaceSecondLineRole,            ///< QString, may be empty
    };

    explicit TrackingTableModel(QObject* parent = nullptr);

    /// Replaces all rows, and what was learnt of them with it. A row whose identity an earlier one
    /// has gets one of its own: an answer for the one must not be shown for the other.
    void setRows(QList<TrackingRow> rows);

    /// The rows in the register's order.
    const QList<TrackingRow>& rows() const { return m_rows; }

    /// Takes the answer over into the row; without such a row it is dropped. Announces what is
    /// shown differently, and nothing when nothing is. A row may move.
    void merge(const QUuid& id, const TrackingResult& result);

    /// The row at a position of the table.
    const TrackingRow& rowAt(int position) const;
    /// Where the row stands in the table; nothing when there is no such row.
    std::optional<int> positionOf(const QUuid& id) const;
    bool contains(const QString& trackingNumber) const;

    const SortOrder& sortOrder() const { return m_order; }
    void setSortOrder(const SortOrder& order);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    /// Sorts by the number or by the date; by any other column it does nothing.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

Q_SIGNALS:
    /// Something of the row is new, also when the table shows it as before.
    void rowChanged(const QUuid& id);

private:
    QString displayText(int position, int column) const;
    int placeFor(const TrackingRow& row, int rowIndex, int position) const;
    void changeRow(int rowIndex, int to, const TrackingRow& row);

    QList<TrackingRow> m_rows;
    QHash<QUuid, int> m_indexOf;  // into m_rows
    std::vector<int> m_positions; // of each of m_rows in the table
    std::vector<int> m_sorted;    // indices of m_rows in the order of the table
    SortOrder m_order{SortComparator{}};
};

} // namespace kopertal
