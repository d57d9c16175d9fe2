#include "app/printing/PageRanges.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <functional>

using namespace kopertal;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int count = 50;
    const auto ranges = pageRanges(
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    if (!ranges)
        return 0;
    const std::vector<int> pages = chosenPages(*ranges, count);
    require(std::ranges::adjacent_find(pages, std::greater_equal<>()) == pages.end(),
            "pages ascend, none twice");
    require(pages.empty() || (pages.front() >= 0 && pages.back() < count),
            "only pages of the document are chosen");
    require(!pages.empty() || !pageRangesRefusal(*ranges, count).isEmpty(),
            "where none is chosen, the user is told");
    return 0;
}
