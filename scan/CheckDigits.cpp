#include "scan/CheckDigits.h"

#include <algorithm>
#include <array>

namespace kopertal {
namespace {

bool isDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

bool isCapital(QChar c) {
    return c >= u'A' && c <= u'Z';
}

int value(QChar digit) {
    return digit.unicode() - u'0';
}

} // namespace

bool hasGs1CheckDigit(QStringView digits) {
    if (digits.size() < 2 || !std::ranges::all_of(digits, isDigit))
        return false;
    int sum = 0;
    for (qsizetype i = 0; i < digits.size(); ++i)
        sum += value(digits[digits.size() - 1 - i]) * (i % 2 == 0 ? 1 : 3);
    return sum % 10 == 0;
}

bool isPostalUnionNumber(QStringView text) {
    static constexpr std::array weights{8, 6, 4, 2, 3, 5, 9, 7};
    if (text.size() != 13 || !std::ranges::all_of(text.first(2), isCapital) ||
        !std::ranges::all_of(text.sliced(2, 9), isDigit) ||
        !std::ranges::all_of(text.last(2), isCapital))
        return false;
    int sum = 0;
    for (size_t i = 0; i < weights.size(); ++i)
        sum += value(text[2 + static_cast<qsizetype>(i)]) * weights[i];
    const int rest = 11 - sum % 11;
    return value(text[10]) == (rest == 10 ? 0 : rest == 11 ? 5 : rest);
}

} // namespace kopertal
