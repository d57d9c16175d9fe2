#pragma once

#include <QList>
#include <QString>
#include <QUuid>

namespace kopertal {

/// One number to follow.
struct SentEntry {
    QUuid id; ///< Also the identity of its row in the table.
    QString name;
    QString address;
    QString trackingNumber; ///< As cleanBarcode() gives it.

    bool operator==(const SentEntry&) const = default;
};

size_t qHash(const SentEntry& entry, size_t seed = 0) noexcept;

/// The numbers that were added on one day.
struct SentBook {
    QUuid id;
    QString date;                ///< "yyyy-MM-dd"
    QList<SentEntry> entries;    ///< In the order of addition.
    QList<qint64> emailSentDays; ///< Empty in new books; carried along otherwise.

    bool operator==(const SentBook&) const = default;
};

/// Adds `book` to the register: its entries go to the end of the first book of the same date, which
/// keeps its identity; without one the book itself goes to the end.
void mergeBook(QList<SentBook>& books, const SentBook& book);

} // namespace kopertal
