#include "engine/AddressFile.h"
#include "engine/AddressParsing.h"
#include "engine/Whitespace.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>

using namespace kopertal;

void feed(QByteArrayView input) {
    const std::optional<QString> text = decodeAddresses(input);
    if (!text)
        return;
    require(text->isValidUtf16(), "decoded text has no lone surrogate");
    require(!text->contains(u'\r'), "line ends are normalised");

    QStringList taken = skippedEntries(*text);
    for (const ParsedAddress& address : parseAddresses(*text)) {
        require(!address.lines.isEmpty(), "a recipient has an address");
        taken << address.name << address.lines;
    }
    for (const QString& line : taken)
        require(!line.isEmpty() && !line.contains(u'\n') && trimmedHorizontally(line) == line,
                "what is taken is trimmed lines");
    const auto isBlank = [](const QString& line) { return trimmedHorizontally(line).isEmpty(); };
    const auto blank = std::ranges::count_if(text->split(u'\n'), isBlank);
    require(taken.size() + blank == text->count(u'\n') + 1, "no line is lost or taken twice");
}
