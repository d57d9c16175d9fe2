#include "engine/AddressParsing.h"

#include "engine/Whitespace.h"

#include <QRandomGenerator>

#include <cstring>
#include <vector>

namespace kopertal {
namespace {

using Block = std::vector<QStringView>;

template <typename Visit>
void forEachBlock(QStringView text, Visit visit) {
    Block block;
    const auto finishBlock = [&] {
        if (!block.empty())
            visit(block);
        block.clear();
    };
    qsizetype start = 0;
    while (start <= text.size()) {
        qsizetype end = text.indexOf(u'\n', start);
        if (end < 0)
            end = text.size();
        const QStringView line = trimmedHorizontally(text.sliced(start, end - start));
        if (line.isEmpty())
            finishBlock();
        else
            block.push_back(line);
        start = end + 1;
    }
    finishBlock();
}

/// Gives every recipient a version 4 identifier. The random bits are drawn in bulk from the seeded
/// generator: QUuid::createUuid() asks the system each time, which is 20 times as slow.
void assignIdentifiers(QList<ParsedAddress>& addresses) {
    std::vector<quint64> random(static_cast<size_t>(addresses.size()) * 2);
    QRandomGenerator64::global()->fillRange(random.data(), static_cast<qsizetype>(random.size()));
    const quint64* next = random.data();
    for (ParsedAddress& address : addresses) {
        unsigned char bytes[16];
        std::memcpy(bytes, next, sizeof bytes);
        next += 2;
        bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0f) | 0x40);
        bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3f) | 0x80);
        address.id = QUuid::fromRfc4122(QByteArrayView(bytes, sizeof bytes));
    }
}

} // namespace

QList<ParsedAddress> parseAddresses(const QString& text) {
    QList<ParsedAddress> result;
    forEachBlock(text, [&](const Block& block) {
        if (block.size() < 2)
            return;
        ParsedAddress& address = result.emplaceBack();
        address.name = block.front().toString();
        address.lines.reserve(static_cast<qsizetype>(block.size()) - 1);
        for (auto line = block.begin() + 1; line != block.end(); ++line)
            address.lines.append(line->toString());
    });
    assignIdentifiers(result);
    return result;
}

QStringList skippedEntries(const QString& text) {
    QStringList result;
    forEachBlock(text, [&](const Block& block) {
        if (block.size() == 1)
            result.append(block.front().toString());
    });
    return result;
}

} // namespace kopertal
