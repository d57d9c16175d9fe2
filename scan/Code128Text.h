#pragma once

#include <QString>

#include <array>
#include <optional>
#include <vector>

namespace kopertal {

constexpr int code128Symbols =
    106; ///< Values 0 to 105, the start symbols last; the stop symbol is apart.
constexpr int code128StartA = 103;
constexpr int code128Modules = 11; ///< Of every symbol but the stop symbol, which has 13.

/// The widths of a symbol's bars and spaces, in modules, a bar first.
std::array<int, 6> code128Widths(int symbol);
inline constexpr std::array code128StopWidths{2, 3, 3, 1, 1, 1, 2};

/// The text of the symbols from the start symbol to the check symbol; nothing when the check symbol
/// is wrong or the symbols mean nothing. Function characters are left out.
std::optional<QString> code128Text(const std::vector<int>& symbols);

} // namespace kopertal
