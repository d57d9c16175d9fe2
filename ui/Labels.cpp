#include "ui/Labels.h"

#include <QLabel>

namespace morvik {

void setInk(QWidget* widget, const QColor& color) {
    QPalette ink = widget->palette();
    ink.setColor(QPalette::WindowText, color);
    widget->setPalette(ink);
}

void setGround(QWidget* widget, const QColor& color) {
    QPalette ground = widget->palette();
    ground.setColor(QPalette::Window, color);
    widget->setPalette(ground);
    widget->setAutoFillBackground(true);
}

QLabel* plainLabel(const QString& text, const QFont& font, const QColor& color) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setFont(font);
    setInk(label, color);
    return label;
}

QLabel* wrappedLabel(const QString& text, const QFont& font, const QColor& color) {
    QLabel* label = plainLabel(text, font, color);
    label->setWordWrap(true);
    return label;
}

QLabel* centredLabel(const QString& text, const QFont& font, const QColor& color) {
    QLabel* label = wrappedLabel(text, font, color);
    label->setAlignment(Qt::AlignHCenter);
    return label;
}

} // namespace morvik
