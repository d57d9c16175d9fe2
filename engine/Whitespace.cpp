#include "engine/Whitespace.h"

namespace kopertal {

bool isHorizontalSpace(QChar c) {
    return c == u' ' || c == u'\t' ||
           (c.unicode() > 0x7f && c.category() == QChar::Separator_Space);
}

QStringView trimmedHorizontally(QStringView text) {
    while (!text.isEmpty() && isHorizontalSpace(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isHorizontalSpace(text.back()))
        text.chop(1);
    return text;
}

} // namespace kopertal
