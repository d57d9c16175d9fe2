#pragma once

#include <QString>
#include <opencv2/core.hpp>

namespace kopertal::test {

/// A code as it is printed: what a reader must say about it.
struct CodeText {
    QString format; ///< "Code128", "QRCode", …
    QString text;   ///< What a reader gives, before any cleaning.
};

bool isLinear(const CodeText& code);

/// A twenty-digit number of a registered letter with its GS1 check digit; a GS1-128 code.
CodeText registeredLetter(cv::RNG& random);

/// A thirteen-character number of the postal union ("RR123456785PL"); a Code 128.
CodeText internationalLetter(cv::RNG& random);

/// Something else that stands on letters: goods, parcels, forms, all with the digits of their kind.
CodeText otherLinear(cv::RNG& random);
CodeText otherMatrix(cv::RNG& random);

/// The code in ink on paper, without a quiet zone: 8 bits, `moduleSize` pixels a module (not
/// necessarily whole ones); linear codes are `height` pixels high. Throws when it cannot be
/// encoded.
cv::Mat drawCode(const CodeText& code, double moduleSize, int height);

} // namespace kopertal::test
