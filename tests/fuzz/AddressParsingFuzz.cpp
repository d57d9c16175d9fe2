#include "engine/AddressFile.h"
#include "engine/AddressParsing.h"
#include "engine/Whitespace.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>

using namespace kopertal;

namespace {

bool isLine(const QString& text) {
    return !text.isEmpty() && !text.contains(u'\n') &&
           trimmedHorizontally(text).size() == text.size();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::optional<QString> text =
        decodeAddresses(QByteArrayView(data, static_cast<qsizetype>(size)));
    if (!text)
        return 0;
    require(text->isValidUtf16(), "decoded text has no lone surrogate");
    require(!text->contains(u'\r'), "line ends are normalised");

    const QStringList skipped = skippedEntries(*text);
    require(std::ranges::all_of(skipped, isLine), "a skipped entry is one trimmed line");
    qsizetype lines = skipped.size();
    for (const ParsedAddress& address : parseAddresses(*text)) {
        require(isLine(address.name), "a name is one trimmed line");
        require(!address.lines.isEmpty(), "a recipient has an address");
        require(std::ranges::all_of(address.lines, isLine), "address lines are trimmed lines");
        lines += 1 + address.lines.size();
    }
    const auto isBlank = [](const QString& line) { return trimmedHorizontally(line).isEmpty(); };
    lines += std::ranges::count_if(text->split(u'\n'), isBlank);
    require(lines == text->count(u'\n') + 1, "no line is lost or taken twice");
    return 0;
}
