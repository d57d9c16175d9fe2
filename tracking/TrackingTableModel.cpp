#include "tracking/TrackingTableModel.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kopertal {
namespace {

size_t at(int index) {
    return static_cast<size_t>(index);
}

std::vector<int> inverse(const std::vector<int>& permutation) {
    std::vector<int> result(permutation.size());
    for (size_t i = 0; i < permutation.size(); ++i)
        result[at(permutation[i])] = static_cast<int>(i);
    return result;
}

QString orDash(const QString& text) {
    return text.isEmpty() ? QStringLiteral("—") : text;
}

/// In any column but the one of the row's number, which depends on the others.
QString cellText(const TrackingRow& row, int column) {
    switch (column) {
    case TrackingTableModel::trackingNumberColumn:
        return orDash(row.trackingNumber);
    case TrackingTableModel::statusColumn:
        return orDash(row.status);
    case TrackingTableModel::dateColumn:
        return statusDate(row);
    default:
        return placeLines(row.lastPlace).first;
    }
}

bool isShownAlike(const TrackingRow& left, const TrackingRow& right, int column) {
    return cellText(left, column) == cellText(right, column) &&
           (column != TrackingTableModel::placeColumn || left.lastPlace == right.lastPlace);
}

} // namespace

TrackingTableModel::TrackingTableModel(QObject* parent) : QAbstractTableModel(parent) {
}

void TrackingTableModel::setRows(QList<TrackingRow> rows) {
    beginResetModel();
    m_rows = std::move(rows);
    m_indexOf.clear();
    m_indexOf.reserve(m_rows.size());
    for (int i = 0; i < m_rows.size(); ++i) {
        TrackingRow& row = m_rows[i];
        if (m_indexOf.contains(row.id()))
            row = TrackingRow({QUuid::createUuid(), row.name, row.address, row.trackingNumber},
                              row.mailingDate);
        m_indexOf.insert(row.id(), i);
    }
    m_sorted = sortedRows(m_rows, m_order);
    m_positions = inverse(m_sorted);
    endResetModel();
}

void TrackingTableModel::merge(const QUuid& id, const TrackingResult& result) {
    const auto found = m_indexOf.constFind(id);
    if (found == m_indexOf.constEnd())
        return;
    const int rowIndex = *found;
    TrackingRow merged = m_rows[rowIndex];
    merged.merge(result);
    if (merged == m_rows[rowIndex])
        return;

    const int to = placeFor(merged, rowIndex, m_positions[at(rowIndex)]);
    int first = columns;
    int last = 0;
    for (int column = trackingNumberColumn; column < columns; ++column) {
        if (!isShownAlike(m_rows[rowIndex], merged, column)) {
            first = std::min(first, column);
            last = column;
        }
    }
    changeRow(rowIndex, to, merged);
    if (first < columns)
        Q_EMIT dataChanged(index(to, first), index(to, last));
    Q_EMIT rowChanged(id);
}

/// Where the row at `position` belongs among the others, which are sorted, when it becomes `row`.
int TrackingTableModel::placeFor(const TrackingRow& row, int rowIndex, int position) const {
    const auto rowOf = [&](int i) -> const TrackingRow& { return i == rowIndex ? row : m_rows[i]; };
    const auto before = [&](int left, int right) {
        return precedes(rowOf(left), rowOf(right), m_order) ||
               (left < right && !precedes(rowOf(right), rowOf(left), m_order));
    };
    const auto here = m_sorted.begin() + position;
    if (here != m_sorted.begin() && before(rowIndex, *(here - 1)))
        return static_cast<int>(std::lower_bound(m_sorted.begin(), here, rowIndex, before) -
                                m_sorted.begin());
    const auto next = here + 1;
    if (next != m_sorted.end() && before(*next, rowIndex))
        return static_cast<int>(std::lower_bound(next, m_sorted.end(), rowIndex, before) -
                                m_sorted.begin()) -
               1;
    return position;
}

/// Replaces the row and moves it to the position `to`.
void TrackingTableModel::changeRow(int rowIndex, int to, const TrackingRow& row) {
    const int from = m_positions[at(rowIndex)];
    if (from == to) {
        m_rows[rowIndex] = row;
        return;
    }
    // Qt names the row before which the moved one goes, counted before the move.
    beginMoveRows({}, from, from, {}, to > from ? to + 1 : to);
    m_rows[rowIndex] = row;
    const auto begin = m_sorted.begin();
    if (to > from)
        std::rotate(begin + from, begin + from + 1, begin + to + 1);
    else
        std::rotate(begin + to, begin + from, begin + from + 1);
    const auto [low, high] = std::minmax(from, to);
    for (int position = low; position <= high; ++position)
        m_positions[at(m_sorted[at(position)])] = position;
    endMoveRows();
    Q_EMIT dataChanged(index(low, rowNumberColumn), index(high, rowNumberColumn),
                       {Qt::DisplayRole});
}

const TrackingRow& TrackingTableModel::rowAt(int position) const {
    return m_rows[m_sorted[at(position)]];
}

std::optional<int> TrackingTableModel::positionOf(const QUuid& id) const {
    const auto found = m_indexOf.constFind(id);
    if (found == m_indexOf.constEnd())
        return std::nullopt;
    return m_positions[at(*found)];
}

bool TrackingTableModel::contains(const QString& trackingNumber) const {
    return std::any_of(m_rows.begin(), m_rows.end(), [&](const TrackingRow& row) {
        return row.trackingNumber == trackingNumber;
    });
}

void TrackingTableModel::setSortOrder(const SortOrder& order) {
    m_order = order;
    std::vector<int> sorted = sortedRows(m_rows, order);
    if (sorted == m_sorted)
        return;
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    const QModelIndexList old = persistentIndexList();
    std::vector<int> positions = inverse(sorted);
    QModelIndexList moved;
    moved.reserve(old.size());
    for (const QModelIndex& stale : old)
        moved.append(index(positions[at(m_sorted[at(stale.row())])], stale.column()));
    m_sorted = std::move(sorted);
    m_positions = std::move(positions);
    changePersistentIndexList(old, moved);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

int TrackingTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int TrackingTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns;
}

QString TrackingTableModel::displayText(int position, int column) const {
    return column == rowNumberColumn ? QString::number(position + 1)
                                     : cellText(rowAt(position), column);
}

QVariant TrackingTableModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return displayText(index.row(), index.column());
    case StatusColorRole:
        return static_cast<int>(statusColor(rowAt(index.row()).status));
    case PlaceSecondLineRole:
        return placeLines(rowAt(index.row()).lastPlace).second;
    default:
        return {};
    }
}

QVariant TrackingTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    static const std::array titles = {QStringLiteral("Lp."), QStringLiteral("Nr nadawczy"),
                                      QStringLiteral("Status"), QStringLiteral("Data statusu"),
                                      QStringLiteral("Ostatnia placówka")};
    if (orientation == Qt::Horizontal && role == Qt::TextAlignmentRole &&
        section == rowNumberColumn)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= columns)
        return {};
    return titles[at(section)];
}

void TrackingTableModel::sort(int column, Qt::SortOrder order) {
    if (column == trackingNumberColumn)
        setSortOrder({{SortComparator::Field::trackingNumber, order}});
    else if (column == dateColumn)
        setSortOrder({{SortComparator::Field::sortableDate, order}});
}

} // namespace kopertal
