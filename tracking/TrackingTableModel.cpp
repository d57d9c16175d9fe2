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

} // namespace

TrackingTableModel::TrackingTableModel(QObject* parent) : QAbstractTableModel(parent) {
}

void TrackingTableModel::setRows(QList<TrackingRow> rows) {
    beginResetModel();
    m_rows = std::move(rows);
    m_sorted = sortedRows(m_rows, m_order);
    m_positions = inverse(m_sorted);
    m_indexOf.clear();
    m_indexOf.reserve(m_rows.size());
    for (int i = 0; i < m_rows.size(); ++i)
        m_indexOf.insert(m_rows[i].id(), i);
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

    const int from = m_positions[at(rowIndex)];
    const auto shown = [&] {
        std::array<std::pair<QString, QVariant>, columns> texts;
        const int position = m_positions[at(rowIndex)];
        for (int column = trackingNumberColumn; column < columns; ++column)
            texts[at(column)] = {displayText(position, column),
                                 column == statusColumn
                                     ? data(index(position, column), StatusColorRole)
                                     : QVariant()};
        return texts;
    };
    const auto before = shown();
    m_rows[rowIndex] = merged;
    const auto after = shown();

    const int to = placeFor(rowIndex, from);
    if (to != from)
        moveRow(from, to);
    int first = columns;
    int last = 0;
    for (int column = trackingNumberColumn; column < columns; ++column) {
        if (before[at(column)] != after[at(column)]) {
            first = std::min(first, column);
            last = column;
        }
    }
    if (first < columns)
        Q_EMIT dataChanged(index(to, first), index(to, last));
    Q_EMIT rowChanged(id);
}

/// Where the row at `position` belongs among the others, which are sorted.
int TrackingTableModel::placeFor(int rowIndex, int position) const {
    const auto before = [this](int left, int right) {
        const bool precedesRight = precedes(m_rows[left], m_rows[right], m_order);
        return precedesRight || (left < right && !precedes(m_rows[right], m_rows[left], m_order));
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

void TrackingTableModel::moveRow(int from, int to) {
    // Qt names the row before which the moved one goes, counted before the move.
    beginMoveRows({}, from, from, {}, to > from ? to + 1 : to);
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
    const TrackingRow& row = rowAt(position);
    switch (column) {
    case rowNumberColumn:
        return QString::number(position + 1);
    case trackingNumberColumn:
        return orDash(row.trackingNumber);
    case statusColumn:
        return orDash(row.status);
    case dateColumn:
        return statusDate(row);
    default:
        return orDash(row.lastPlace);
    }
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
