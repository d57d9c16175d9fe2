#pragma once

#include <QString>

#include <optional>
#include <vector>

namespace kopertal {

/// Pages counted from 1, both ends included.
struct PageRange {
    int first = 1;
    int last = 1;

    bool operator==(const PageRange&) const = default;
};

/// The end of a range that has none: more than can be named.
inline constexpr int lastPossiblePage = 1'000'000;

/// The pages that a user names as in "1-3, 7, 12-" (to the end), in ascending order, none twice;
/// empty for a blank text, which means all of them. Nothing for a text that is no such list, a page
/// 0 or a range that runs backwards.
std::optional<std::vector<PageRange>> pageRanges(const QString& text);

/// The pages of a document of `count` that `ranges` choose, counted from 0; all without a range.
std::vector<int> chosenPages(const std::vector<PageRange>& ranges, int count);

/// Why `ranges` do not fit a document of `count` pages, in words for the user; empty when they do.
QString pageRangesRefusal(const std::vector<PageRange>& ranges, int count);

} // namespace kopertal
