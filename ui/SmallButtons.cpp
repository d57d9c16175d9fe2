#include "ui/SmallButtons.h"

#include "ui/AccessibleRole.h"
#include "ui/BorderFrame.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/Icons.h"
#include "ui/MorvikTheme.h"
#include "ui/Tones.h"

#include <QPainter>

#include <algorithm>

namespace morvik {
namespace {

constexpr double smallRadius = 6;
constexpr int textSidePadding = 12;
constexpr int textVerticalPadding = 6;
constexpr int lineHeight = 20;
constexpr int tabSidePadding = 20;
constexpr int tabVerticalPadding = 10;
constexpr int tabBar = 3;

} // namespace

LimeSmallButton::LimeSmallButton(const QString& title, QWidget* parent)
    : KitButton(title, {}, parent) {
    setFont(uiFont(11));
    addFocusRing(this, navyRing(smallRadius, 2));
}

void LimeSmallButton::setMeasures(int textSize, int sidePadding, int verticalPadding) {
    setFont(uiFont(textSize));
    m_sidePadding = sidePadding;
    m_verticalPadding = verticalPadding;
    updateGeometry();
}

QSize LimeSmallButton::sizeHint() const {
    return paddedSize(fontMetrics().horizontalAdvance(text()), 0, m_sidePadding, m_verticalPadding);
}

void LimeSmallButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintFrame(painter, rect(), smallRadius, Qt::NoPen,
               !isEnabled()  ? Tones::faded(MorvikTheme::Colors::lime, 0.3)
               : isPointed() ? Tones::limeHover
                             : MorvikTheme::Colors::lime);
    painter.setPen(isEnabled() ? Tones::onLime : Tones::disabledLabel);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextHideMnemonic, text());
}

IconButton::IconButton(const QString& icon, const QString& name, const QColor& color,
                       QWidget* parent)
    : KitButton({}, icon, parent), m_color(color) {
    setToolTip(name);
    setAccessibleName(name);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    addFocusRing(this, navyRing(smallRadius, 0));
}

void IconButton::setMeasures(int side, int iconSize) {
    m_side = side;
    m_iconSize = iconSize;
    updateGeometry();
}

void IconButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor ink = isEnabled() ? m_color : Tones::faded(m_color, 0.45);
    if (isEnabled() && isDown())
        painter.setBrush(Tones::faded(MorvikTheme::Colors::lime, 0.15));
    else if (isPointed())
        painter.setBrush(Tones::faded(Tones::label, 0.06));
    if ((isPointed() || isDown()) && m_color == Tones::mutedLabel)
        ink = Tones::label;
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(rect(), smallRadius, smallRadius);
    const QRect picture((width() - m_iconSize) / 2, (height() - m_iconSize) / 2, m_iconSize,
                        m_iconSize);
    paintIcon(painter, iconName(), picture, ink);
}

TextButton::TextButton(const QString& title, QWidget* parent) : KitButton(title, {}, parent) {
    setFont(textFont());
    addFocusRing(this, navyRing(smallRadius, 0));
}

QSize TextButton::sizeHint() const {
    return paddedSize(fontMetrics().horizontalAdvance(text()), lineHeight, textSidePadding,
                      textVerticalPadding);
}

void TextButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (isDown())
        painter.setBrush(Tones::faded(MorvikTheme::Colors::lime, 0.15));
    else if (isPointed())
        painter.setBrush(Tones::faded(Tones::label, 0.05));
    painter.drawRoundedRect(rect(), smallRadius, smallRadius);
    painter.setPen(!isEnabled()              ? Tones::disabledLabel
                   : isPointed() || isDown() ? Tones::label
                                             : Tones::secondaryLabel);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextHideMnemonic, text());
}

TabButton::TabButton(const QString& title, QWidget* parent) : KitButton(title, {}, parent) {
    setAccessibleRole(this, QAccessible::PageTab);
    setCheckable(true);
    setFont(uiFont(13, QFont::Bold)); // the wider of its two weights
    RingShape ring = navyRing(smallRadius, 0);
    ring.inset = QMargins(3, 3, 3, 5);
    addFocusRing(this, ring);
}

QSize TabButton::sizeHint() const {
    return paddedSize(fontMetrics().horizontalAdvance(text()), lineHeight, tabSidePadding,
                      tabVerticalPadding);
}

void TabButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(uiFont(13, isChecked() ? QFont::Bold : QFont::Medium));
    painter.setPen(isChecked() || isPointed() ? Tones::label : Tones::mutedLabel);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextHideMnemonic, text());
    if (isChecked())
        painter.fillRect(QRect(0, height() - tabBar, width(), tabBar), MorvikTheme::Colors::lime);
}

} // namespace morvik
