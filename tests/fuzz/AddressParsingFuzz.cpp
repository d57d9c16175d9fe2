#include "engine/AddressFile.h"
#include "engine/AddressParsing.h"
#include "engine/Whitespace.h"
#include "tests/fuzz/FuzzTarget.h"

#include <QSet>

#include <algorithm>

using namespace kopertal;

namespace {

bool isLine(const QString& text) {
    return !text.isEmpty() && !text.contains(u'\n') &&
           trimmedHorizontally(text).size() == text.size();
}

/// What the parser makes of `text`, written as a text that means the same.
QString canonical(const QString& text) {
    QString result;
    for (const ParsedAddress& address : parseAddresses(text))
        result += address.name + u'\n' + address.lines.join(u'\n') + QStringLiteral("\n\n");
    return result;
}

/// Every line that is not blank is in exactly one recipient or skipped entry.
qsizetype countedLines(const QString& text) {
    const QList<QStringView> lines = QStringView(text).split(u'\n');
    return std::count_if(lines.begin(), lines.end(),
                         [](QStringView line) { return !trimmedHorizontally(line).isEmpty(); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::optional<QString> text =
        decodeAddresses(QByteArrayView(data, static_cast<qsizetype>(size)));
    if (!text)
        return 0;
    require(text->isValidUtf16(), "decoded text has no lone surrogate");
    require(!text->contains(u'\r'), "line ends are normalised");

    const QList<ParsedAddress> addresses = parseAddresses(*text);
    const QStringList skipped = skippedEntries(*text);
    qsizetype lines = skipped.size();
    QSet<QUuid> ids;
    for (const ParsedAddress& address : addresses) {
        require(isLine(address.name), "a name is one trimmed line");
        require(!address.lines.isEmpty(), "a recipient has an address");
        require(std::ranges::all_of(address.lines, isLine), "address lines are trimmed lines");
        require(address.id.version() == QUuid::Random, "identifiers are random");
        ids.insert(address.id);
        lines += 1 + address.lines.size();
    }
    require(ids.size() == addresses.size(), "identifiers differ");
    require(std::ranges::all_of(skipped, isLine), "a skipped entry is one trimmed line");
    require(lines == countedLines(*text), "no line is lost or taken twice");

    const QString again = canonical(*text);
    require(canonical(again) == again, "what was parsed is parsed to the same");
    require(skippedEntries(again).isEmpty(), "no recipient becomes a skipped entry");
    require(skippedEntries(skipped.join(QStringLiteral("\n\n"))) == skipped,
            "skipped entries are skipped again");
    require(parseAddresses(*text + u'\n').size() == addresses.size() &&
                skippedEntries(*text + u'\n') == skipped,
            "a final line feed changes nothing");
    return 0;
}
