#include "tracking/SentBook.h"

#include <QHashFunctions>

#include <algorithm>

namespace kopertal {

size_t qHash(const SentEntry& entry, size_t seed) noexcept {
    return qHashMulti(seed, entry.id, entry.name, entry.address, entry.trackingNumber);
}

void mergeBook(QList<SentBook>& books, const SentBook& book) {
    const auto same = std::find_if(books.begin(), books.end(), [&](const SentBook& stored) {
        return stored.date == book.date;
    });
    if (same == books.end())
        books.append(book);
    else
        same->entries.append(book.entries);
}

} // namespace kopertal
