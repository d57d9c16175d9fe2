#include "engine/XmlText.h"

#include <algorithm>

namespace kopertal {
namespace {

/// Whether a code unit, standing alone, is no XML character.
bool isForbiddenAlone(QChar c) {
    const char16_t unit = c.unicode();
    return (unit < 0x20 && unit != u'\t' && unit != u'\n' && unit != u'\r') || c.isSurrogate() ||
           unit >= 0xfffe;
}

} // namespace

QString xmlSafe(const QString& text) {
    if (std::none_of(text.begin(), text.end(), isForbiddenAlone))
        return text;
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isPair =
            text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        if (isPair) {
            result += text[i++];
            result += text[i];
        } else if (!isForbiddenAlone(text[i])) {
            result += text[i];
        }
    }
    return result;
}

} // namespace kopertal
