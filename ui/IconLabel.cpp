#include "ui/IconLabel.h"

#include "ui/Icons.h"

#include <QPainter>

namespace morvik {

IconLabel::IconLabel(const QString& icon, int size, const QColor& color, QWidget* parent)
    : QWidget(parent), m_icon(icon), m_size(size), m_color(color) {
    setFixedSize(size, size);
}

void IconLabel::setColor(const QColor& color) {
    m_color = color;
    update();
}

void IconLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintIcon(painter, m_icon, rect(), m_color);
}

} // namespace morvik
