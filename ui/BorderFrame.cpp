#include "ui/BorderFrame.h"

#include "ui/AccessibleRole.h"
#include "ui/Tones.h"

#include <QPainter>

namespace morvik {

void paintFrame(QPainter& painter, const QRectF& outer, double radius, const QPen& border,
                const QBrush& ground) {
    const double half = border.style() == Qt::NoPen ? 0 : border.widthF() / 2;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(border);
    painter.setBrush(ground);
    painter.drawRoundedRect(outer.adjusted(half, half, -half, -half), radius, radius);
    painter.restore();
}

BorderFrame::BorderFrame(QWidget* parent) : QFrame(parent) {
    setAccessibleRole(this, QAccessible::Grouping); // a frame of the toolkit is told as a window
}

void BorderFrame::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintFrame(painter, rect(), 10, Tones::border, Tones::field);
}

} // namespace morvik
