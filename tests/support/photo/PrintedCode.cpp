#include "tests/support/photo/PrintedCode.h"

#include <ZXing/BarcodeFormat.h>
#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>

#include <algorithm>
#include <cmath>

namespace kopertal::test {
namespace {

constexpr uchar paper = 245;
constexpr uchar ink = 20;

QString digits(cv::RNG& random, int count) {
    QString text;
    for (int i = 0; i < count; ++i)
        text += QChar(u'0' + random.uniform(0, 10));
    return text;
}

/// With GS1's check digit: weights 3 and 1 from the right.
QString withDigit(const QString& payload) {
    int sum = 0;
    for (qsizetype i = 1; i <= payload.size(); ++i)
        sum += payload[payload.size() - i].digitValue() * (i % 2 == 0 ? 1 : 3);
    return payload + QChar(u'0' + (10 - sum % 10) % 10);
}

/// With the check digit of the postal union's numbers, over their eight digits.
QString withPostalDigit(const QString& payload) {
    static constexpr int weights[] = {8, 6, 4, 2, 3, 5, 9, 7};
    int sum = 0;
    for (qsizetype i = 0; i < payload.size(); ++i)
        sum += payload[i].digitValue() * weights[i];
    const int rest = 11 - sum % 11;
    return payload + QChar(u'0' + (rest == 10 ? 0 : rest == 11 ? 5 : rest));
}

ZXing::BitMatrix encode(const CodeText& code) {
    const bool isGs1 = code.format == QLatin1String("Code128") && code.text.size() == 20;
    const std::wstring text = isGs1 ? L'\u00f1' + code.text.toStdWString() // FNC1, for the writer
                                    : code.text.toStdWString();
    return ZXing::MultiFormatWriter(ZXing::BarcodeFormatFromString(code.format.toStdString()))
        .setMargin(0)
        .encode(text, 0, 0);
}

/// The grey of [from, to) on a row, in its modules.
uchar shade(const ZXing::BitMatrix& matrix, int row, double from, double to) {
    double dark = 0;
    for (int i = static_cast<int>(from); i < std::min<double>(to, matrix.width()); ++i) {
        if (matrix.get(i, row))
            dark += std::min(to, i + 1.0) - std::max<double>(from, i);
    }
    return cv::saturate_cast<uchar>(paper - dark / (to - from) * (paper - ink));
}

} // namespace

bool isLinear(const CodeText& code) {
    return ZXing::BarcodeFormats(ZXing::BarcodeFormat::LinearCodes)
        .testFlag(ZXing::BarcodeFormatFromString(code.format.toStdString()));
}

CodeText registeredLetter(cv::RNG& random) {
    return {"Code128", "00" + withDigit("559007734" + digits(random, 8))};
}

CodeText internationalLetter(cv::RNG& random) {
    const QString number = withPostalDigit(digits(random, 8));
    return {"Code128", QStringLiteral("R") + QChar(u'A' + random.uniform(0, 26)) + number + "PL"};
}

CodeText otherLinear(cv::RNG& random) {
    static constexpr struct {
        const char* format;
        const char* start;
        int digits;
        bool hasCheckDigit;
    } kinds[] = {{"EAN-13", "590", 9, true},  {"ITF", "1590", 9, true},
                 {"Code39", "KP-", 7, false}, {"Code93", "KP", 8, false},
                 {"EAN-8", "590", 4, true},   {"Code128", "PX", 10, false}};
    const auto& kind = kinds[random.uniform(0, 6)];
    const QString text = kind.start + digits(random, kind.digits);
    return {kind.format, kind.hasCheckDigit ? withDigit(text) : text};
}

CodeText otherMatrix(cv::RNG& random) {
    static constexpr const char* formats[] = {"QRCode", "DataMatrix", "PDF417", "Aztec"};
    return {formats[random.uniform(0, 4)], "ZNACZEK" + digits(random, 14)};
}

cv::Mat drawCode(const CodeText& code, double moduleSize, int height) {
    const ZXing::BitMatrix matrix = encode(code);
    const auto pixels = [&](int modules) {
        return static_cast<int>(std::ceil(modules * moduleSize));
    };
    cv::Mat picture(isLinear(code) ? height : pixels(matrix.height()), pixels(matrix.width()),
                    CV_8U);
    for (int y = 0; y < picture.rows; ++y) {
        const int row = std::min(matrix.height() - 1, static_cast<int>(y / moduleSize));
        for (int x = 0; x < picture.cols; ++x)
            picture.at<uchar>(y, x) = shade(matrix, row, x / moduleSize, (x + 1) / moduleSize);
    }
    return picture;
}

} // namespace kopertal::test
