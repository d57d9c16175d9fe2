#include "ui/PlainText.h"

#include <QLabel>

namespace morvik {

QLabel* plainLabel(const QString& text, const QFont& font, const QColor& color) {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    label->setFont(font);
    QPalette ink = label->palette();
    ink.setColor(QPalette::WindowText, color);
    label->setPalette(ink);
    return label;
}

QString plainToolTip(const QString& text) {
    constexpr qsizetype longest = 500;
    if (text.isEmpty())
        return {};
    const QString shown =
        text.size() > longest ? text.first(longest) + QStringLiteral("…") : text;
    return QStringLiteral("<div style=\"white-space: pre-wrap\">%1</div>")
        .arg(shown.toHtmlEscaped());
}

} // namespace morvik
