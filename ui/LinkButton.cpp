#include "ui/LinkButton.h"

#include "ui/AccessibleRole.h"
#include "ui/FocusRing.h"
#include "ui/OpenAddress.h"

#include <QPainter>

namespace morvik {
namespace {

constexpr double ringRadius = 3;

} // namespace

LinkButton::LinkButton(const QString& text, const QString& address, const QFont& font,
                       const QColor& color, QWidget* parent)
    : KitButton({}, {}, parent), m_color(color) {
    setText(QString(text).replace(u'&', QStringLiteral("&&"))); // not a shortcut's letter
    setAccessibleRole(this, QAccessible::Link);
    setAccessibleName(text);
    setFont(font);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setToolTip(address == text ? QString() : address);
    addFocusRing(this, navyRing(ringRadius, 1));
    connect(this, &QPushButton::clicked, this, [address] { openAddress(address); });
}

QSize LinkButton::sizeHint() const {
    return fontMetrics().size(Qt::TextShowMnemonic, text());
}

void LinkButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QFont shown = font();
    shown.setUnderline(isPointed());
    painter.setFont(shown);
    painter.setPen(m_color);
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextShowMnemonic, text());
}

} // namespace morvik
