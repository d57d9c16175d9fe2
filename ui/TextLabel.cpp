#include "ui/TextLabel.h"

#include <QLabel>

namespace morvik {

QLabel* textLabel(const QString& text, const QFont& font, const QColor& color) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setFont(font);
    setTextColor(label, color);
    return label;
}

void setTextColor(QLabel* label, const QColor& color) {
    QPalette ink = label->palette();
    ink.setColor(QPalette::WindowText, color);
    label->setPalette(ink);
}

} // namespace morvik
