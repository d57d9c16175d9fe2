#include "app/common/Theme.h"

namespace kopertal::Color {
namespace {

/// -1 for what is no hexadecimal digit.
int digitValue(QChar c) {
    if (c >= u'0' && c <= u'9')
        return c.unicode() - u'0';
    if (c >= u'a' && c <= u'f')
        return c.unicode() - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c.unicode() - u'A' + 10;
    return -1;
}

/// Strict, where the toolkit's own conversion takes blanks and "0x" too; 0 for what is no number.
quint64 hexNumber(QStringView digits) {
    quint64 value = 0;
    for (const QChar c : digits) {
        const int digit = digitValue(c);
        if (digit < 0 || value >> 60 != 0)
            return 0;
        value = value << 4 | static_cast<quint64>(digit);
    }
    return value;
}

} // namespace

QColor fromHex(QStringView hex) {
    while (hex.startsWith(u'#'))
        hex = hex.sliced(1);
    while (hex.endsWith(u'#'))
        hex.chop(1);
    return QColor(static_cast<QRgb>(hexNumber(hex) & 0xffffff) | 0xff000000U);
}

} // namespace kopertal::Color
