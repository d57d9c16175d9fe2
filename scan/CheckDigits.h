#pragma once

#include <QStringView>

namespace kopertal {

/// Whether the last digit is GS1's (weights 3 and 1 from the right, modulo 10). False for texts
/// that are not digits only.
bool hasGs1CheckDigit(QStringView digits);

/// Whether the text is a number of the postal union, two letters, eight digits, their check digit,
/// two letters, with the right digit.
bool isPostalUnionNumber(QStringView text);

} // namespace kopertal
