#include "tests/fuzz/FuzzTarget.h"
#include "tracking/SentBookJson.h"

using namespace kopertal;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const std::optional<QList<SentBook>> books = decodeSentBooks(json);
    if (!books)
        return 0;
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
    return 0;
}
