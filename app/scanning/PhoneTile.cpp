#include "app/scanning/PhoneTile.h"

#include "app/common/Theme.h"
#include "ui/Icons.h"

#include <QPainter>

namespace kopertal {

PhoneTile::PhoneTile(int iconSize, int padding, QWidget* parent)
    : QWidget(parent), m_padding(padding) {
    setFixedSize(iconSize + 2 * padding, iconSize + 2 * padding);
}

void PhoneTile::paintEvent(QPaintEvent*) {
    const double radius = 0.22 * width();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::primary);
    painter.drawRoundedRect(rect(), radius, radius);
    morvik::paintIcon(painter, QStringLiteral("iphone.radiowaves.left.and.right"),
                      rect().adjusted(m_padding, m_padding, -m_padding, -m_padding), Theme::brand);
}

} // namespace kopertal
