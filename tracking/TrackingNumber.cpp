#include "tracking/TrackingNumber.h"

#include <QRegularExpression>

#include <algorithm>

namespace kopertal {
namespace {

bool isDropped(QChar c) {
    return c.unicode() < 0x20 || c.unicode() == 0x7f;
}

QStringView withoutSpacesAround(QStringView text) {
    const auto isSpace = [](QChar c) { return c.category() == QChar::Separator_Space; };
    while (!text.isEmpty() && isSpace(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isSpace(text.back()))
        text.chop(1);
    return text;
}

} // namespace

QString cleanBarcode(const QString& text) {
    static const QRegularExpression prefix(QStringLiteral(R"(^\(\d+\))"),
                                           QRegularExpression::UseUnicodePropertiesOption);
    QString kept;
    std::remove_copy_if(text.begin(), text.end(), std::back_inserter(kept), isDropped);
    QStringView number = withoutSpacesAround(kept);
    const QRegularExpressionMatch match = prefix.match(number);
    if (match.hasMatch())
        number = withoutSpacesAround(number.sliced(match.capturedLength()));
    return number.toString();
}

} // namespace kopertal
