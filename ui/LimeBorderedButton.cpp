#include "ui/LimeBorderedButton.h"

#include "ui/BorderFrame.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/Icons.h"
#include "ui/MorvikTheme.h"
#include "ui/Tones.h"

#include <QPainter>
#include <QStyleOptionButton>

namespace morvik {
namespace {

constexpr int verticalPadding = 8;
constexpr int lineHeight = 16;
constexpr int pictureSize = 16;
constexpr double radius = 6;

} // namespace

void LimeBorderedButtonStyle::paintFrame(QPainter& painter, const QStyleOption& button) {
    const bool isEnabled = button.state & QStyle::State_Enabled;
    QColor border = Tones::faded(Tones::secondaryLabel, isEnabled ? 0.3 : 0.18);
    QColor fill = Qt::transparent;
    if (isEnabled && (button.state & QStyle::State_Sunken)) {
        border = MorvikTheme::Colors::lime;
        fill = Tones::faded(MorvikTheme::Colors::lime, 0.15);
    } else if (isEnabled) {
        if (button.state & QStyle::State_MouseOver)
            fill = Tones::faded(Tones::label, 0.05);
        if (button.state & QStyle::State_HasFocus)
            border = Tones::label;
    }
    morvik::paintFrame(painter, button.rect, radius, border, fill);
}

QColor LimeBorderedButtonStyle::labelColor(const QStyleOption& button) {
    if (!(button.state & QStyle::State_Enabled))
        return Tones::faded(Tones::secondaryLabel, 0.45);
    const bool isStrong = button.state & (QStyle::State_Sunken | QStyle::State_HasFocus);
    return isStrong ? Tones::label : Tones::secondaryLabel;
}

LimeBorderedButton::LimeBorderedButton(const QString& title, const QString& icon, QWidget* parent)
    : KitButton(title, icon, parent) {
    setFont(textFont());
    addFocusRing(this, limeRing(radius));
}

void LimeBorderedButton::setIconGap(int pixels) {
    m_iconGap = pixels;
    updateGeometry();
}

void LimeBorderedButton::setSidePadding(int pixels) {
    m_sidePadding = pixels;
    updateGeometry();
}

int LimeBorderedButton::contentWidth() const {
    return fontMetrics().horizontalAdvance(text()) + (hasPicture() ? pictureSize + m_iconGap : 0);
}

QSize LimeBorderedButton::sizeHint() const {
    return paddedSize(contentWidth(), lineHeight, m_sidePadding, verticalPadding);
}

void LimeBorderedButton::paintEvent(QPaintEvent*) {
    QStyleOptionButton option;
    initStyleOption(&option);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    LimeBorderedButtonStyle::paintFrame(painter, option);

    const QColor ink = LimeBorderedButtonStyle::labelColor(option);
    int x = (width() - contentWidth()) / 2;
    const QRectF picture(x, (height() - pictureSize) / 2, pictureSize, pictureSize);
    if (isSpinning())
        paintSpinner(painter, picture, ink);
    else if (hasPicture())
        paintIcon(painter, iconName(), picture, ink);
    if (hasPicture())
        x += pictureSize + m_iconGap;
    painter.setPen(ink);
    painter.drawText(QRect(x, 0, width() - x, height()), Qt::AlignVCenter | Qt::TextHideMnemonic,
                     text());
}

} // namespace morvik
