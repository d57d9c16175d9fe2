#include "tests/fuzz/FuzzTarget.h"
#include "tracking/SentBookJson.h"

using namespace kopertal;

void feed(QByteArrayView input) {
    const std::optional<QList<SentBook>> books = decodeSentBooks(input.toByteArray());
    if (!books)
        return;
    const QByteArray stored = encodeSentBooks(*books);
    require(decodeSentBooks(stored) == books, "what is stored is read again as it was");
    QList<SentBook> merged;
    qsizetype entries = 0;
    for (const SentBook& book : *books) {
        entries += book.entries.size();
        mergeBook(merged, book);
    }
    for (const SentBook& book : merged)
        entries -= book.entries.size();
    require(entries == 0, "no entry is lost or doubled where books join");
}
