#pragma once

#include "tracking/TrackingRow.h"

#include <QList>

#include <vector>

namespace kopertal {

/// One criterion of the table's order.
struct SortComparator {
    enum class Field { trackingNumber, sortableDate };
    Field field = Field::trackingNumber;
    Qt::SortOrder order = Qt::AscendingOrder;

    bool operator==(const SortComparator&) const = default;
};

/// The criteria, the most important first.
using SortOrder = QList<SortComparator>;

/// Compares texts by Unicode scalar values after canonical normalisation (NFC); no language and no
/// numbers are looked at. Negative, 0 or positive.
int compareScalars(const QString& left, const QString& right);

/// Whether `left` stands before `right`; false when they are equal by all criteria.
bool precedes(const TrackingRow& left, const TrackingRow& right, const SortOrder& order);

/// The indices of the rows in the order of the table; rows that are equal keep theirs.
std::vector<int> sortedRows(const QList<TrackingRow>& rows, const SortOrder& order);

} // namespace kopertal
