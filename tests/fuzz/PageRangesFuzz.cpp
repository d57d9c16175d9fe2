#include "app/printing/PageRanges.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <functional>

using namespace kopertal;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int count = 50;
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto ranges = pageRanges(text);
    if (!ranges)
        return 0;
    for (std::size_t i = 0; i < ranges->size(); ++i) {
        const PageRange& range = (*ranges)[i];
        require(range.first >= 1 && range.first <= range.last && range.last <= lastPossiblePage,
                "a range runs forwards, from 1");
        require(i == 0 || (*ranges)[i - 1].last + 1 < range.first, "ranges ascend and leave a gap");
    }
    const std::vector<int> pages = chosenPages(*ranges, count);
    require(std::ranges::adjacent_find(pages, std::greater_equal<>()) == pages.end(),
            "pages ascend, none twice");
    require(pages.empty() || (pages.front() >= 0 && pages.back() < count),
            "only pages of the document are chosen");
    require(!pages.empty() || !pageRangesRefusal(*ranges, count).isEmpty(),
            "where none is chosen, the user is told");
    return 0;
}
