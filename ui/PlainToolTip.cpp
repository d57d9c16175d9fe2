#include "ui/PlainToolTip.h"

namespace morvik {

QString plainToolTip(const QString& text) {
    constexpr qsizetype longest = 500;
    if (text.isEmpty())
        return {};
    const QString shown = text.size() > longest ? text.first(longest) + QStringLiteral("…") : text;
    return QStringLiteral("<div style=\"white-space: pre-wrap\">%1</div>")
        .arg(shown.toHtmlEscaped());
}

} // namespace morvik
