#include "tracking/TrackingSort.h"

#include <algorithm>
#include <numeric>

namespace kopertal {
namespace {

/// A code unit's rank: surrogates, which stand for the highest scalars, come after all others.
int rank(QChar unit) {
    return unit.isSurrogate() ? unit.unicode() + 0x10000 : unit.unicode();
}

bool isAscii(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

QString canonical(const QString& text) {
    return isAscii(text) ? text : text.normalized(QString::NormalizationForm_C);
}

const QString& fieldOf(const TrackingRow& row, SortComparator::Field field) {
    return field == SortComparator::Field::trackingNumber ? row.trackingNumber : row.sortableDate();
}

} // namespace

int compareScalars(const QString& left, const QString& right) {
    const QString a = canonical(left);
    const QString b = canonical(right);
    const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (inA == a.end() || inB == b.end())
        return (inA != a.end()) - (inB != b.end());
    return rank(*inA) - rank(*inB);
}

bool precedes(const TrackingRow& left, const TrackingRow& right, const SortOrder& order) {
    for (const SortComparator& comparator : order) {
        const int compared =
            compareScalars(fieldOf(left, comparator.field), fieldOf(right, comparator.field));
        if (compared != 0)
            return (compared < 0) == (comparator.order == Qt::AscendingOrder);
    }
    return false;
}

std::vector<int> sortedRows(const QList<TrackingRow>& rows, const SortOrder& order) {
    std::vector<int> indices(static_cast<size_t>(rows.size()));
    std::iota(indices.begin(), indices.end(), 0);
    std::stable_sort(indices.begin(), indices.end(),
                     [&](int left, int right) { return precedes(rows[left], rows[right], order); });
    return indices;
}

} // namespace kopertal
