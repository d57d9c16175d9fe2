#include "tests/support/photo/PrintedCode.h"

#include <ZXing/BarcodeFormat.h>
#include <ZXing/BitMatrix.h>
#include <ZXing/MultiFormatWriter.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

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

/// GS1's digit: weights 3 and 1 from the right.
QChar gs1Digit(const QString& payload) {
    int sum = 0;
    for (qsizetype i = 0; i < payload.size(); ++i)
        sum += payload[payload.size() - 1 - i].digitValue() * (i % 2 == 0 ? 3 : 1);
    return QChar(u'0' + (10 - sum % 10) % 10);
}

/// The digit of the postal union's numbers, over their eight digits.
QChar postalDigit(const QString& payload) {
    static constexpr std::array weights{8, 6, 4, 2, 3, 5, 9, 7};
    int sum = 0;
    for (qsizetype i = 0; i < payload.size(); ++i)
        sum += payload[i].digitValue() * weights[static_cast<size_t>(i)];
    const int rest = 11 - sum % 11;
    return QChar(u'0' + (rest == 10 ? 0 : rest == 11 ? 5 : rest));
}

QString withDigit(const QString& payload) {
    return payload + gs1Digit(payload);
}

ZXing::BitMatrix encode(const CodeText& code) {
    const bool isGs1 = code.format == QLatin1String("Code128") && code.text.size() == 20;
    const std::wstring text = isGs1 ? L'\u00f1' + code.text.toStdWString() // FNC1, for the writer
                                    : code.text.toStdWString();
    return ZXing::MultiFormatWriter(ZXing::BarcodeFormatFromString(code.format.toStdString()))
        .setMargin(0)
        .encode(text, 0, 0);
}

/// How much of [from, to) is dark, in modules of the row.
double darkness(const std::vector<bool>& modules, double from, double to) {
    double dark = 0;
    for (int i = std::max(0, static_cast<int>(from)); i < to; ++i) {
        if (static_cast<size_t>(i) < modules.size() && modules[static_cast<size_t>(i)])
            dark += std::min(to, i + 1.0) - std::max(from, static_cast<double>(i));
    }
    return dark / (to - from);
}

uchar shade(double dark) {
    return cv::saturate_cast<uchar>(paper - dark * (paper - ink));
}

} // namespace

bool isLinear(const CodeText& code) {
    return ZXing::BarcodeFormats(ZXing::BarcodeFormat::LinearCodes)
        .testFlag(ZXing::BarcodeFormatFromString(code.format.toStdString()));
}

CodeText registeredLetter(cv::RNG& random) {
    return {QStringLiteral("Code128"),
            QStringLiteral("00") + withDigit(QStringLiteral("559007734") + digits(random, 8))};
}

CodeText internationalLetter(cv::RNG& random) {
    const QString payload = digits(random, 8);
    return {QStringLiteral("Code128"), QStringLiteral("R") + QChar(u'A' + random.uniform(0, 26)) +
                                           payload + postalDigit(payload) + QStringLiteral("PL")};
}

CodeText otherLinear(cv::RNG& random) {
    switch (random.uniform(0, 6)) {
    case 0:
        return {QStringLiteral("EAN-13"), withDigit(QStringLiteral("590") + digits(random, 9))};
    case 1:
        return {QStringLiteral("ITF"), withDigit(QStringLiteral("1590") + digits(random, 9))};
    case 2:
        return {QStringLiteral("Code39"), QStringLiteral("KP-") + digits(random, 7)};
    case 3:
        return {QStringLiteral("Code93"), QStringLiteral("KP") + digits(random, 8)};
    case 4:
        return {QStringLiteral("EAN-8"), withDigit(QStringLiteral("590") + digits(random, 4))};
    default:
        return {QStringLiteral("Code128"), QStringLiteral("PX") + digits(random, 10)};
    }
}

CodeText otherMatrix(cv::RNG& random) {
    static const std::array<QString, 4> formats{QStringLiteral("QRCode"),
                                                QStringLiteral("DataMatrix"),
                                                QStringLiteral("PDF417"), QStringLiteral("Aztec")};
    return {formats[static_cast<size_t>(random.uniform(0, 4))],
            QStringLiteral("ZNACZEK") + digits(random, 14)};
}

cv::Mat drawCode(const CodeText& code, double moduleSize, int height) {
    const ZXing::BitMatrix matrix = encode(code);
    const int rows = isLinear(code) ? 1 : matrix.height();
    const int width = static_cast<int>(std::ceil(matrix.width() * moduleSize));
    const int rowHeight = isLinear(code) ? height : 0;
    cv::Mat picture(rows == 1 ? rowHeight : static_cast<int>(std::ceil(rows * moduleSize)), width,
                    CV_8U, cv::Scalar(paper));
    std::vector<bool> modules(static_cast<size_t>(matrix.width()));
    for (int y = 0; y < picture.rows; ++y) {
        const int row = rows == 1 ? 0 : std::min(rows - 1, static_cast<int>(y / moduleSize));
        for (int x = 0; x < matrix.width(); ++x)
            modules[static_cast<size_t>(x)] = matrix.get(x, row);
        for (int x = 0; x < width; ++x)
            picture.at<uchar>(y, x) =
                shade(darkness(modules, x / moduleSize, (x + 1) / moduleSize));
    }
    return picture;
}

} // namespace kopertal::test
