#include "ui/LimeActionButton.h"

#include "ui/BorderFrame.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/Icons.h"
#include "ui/MorvikTheme.h"
#include "ui/Tones.h"

#include <QPainter>

namespace morvik {
namespace {

constexpr int verticalPadding = 12;
constexpr int sidePadding = 16;
constexpr int spinnerSize = 16;
constexpr int spinnerGap = 8;
constexpr int pictureSize = 18;
constexpr int iconGap = 6;
constexpr int lineHeight = 20;
constexpr double radius = 10;

} // namespace

LimeActionButton::LimeActionButton(const QString& title, const QString& icon, QWidget* parent)
    : KitButton(title, icon, parent), m_title(title) {
    setFont(headlineFont());
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    addFocusRing(this, navyRing(radius, 2));
}

void LimeActionButton::setProcessing(bool isProcessing) {
    setSpinning(isProcessing);
    setText(shownTitle());
}

const QString& LimeActionButton::shownTitle() const {
    return isProcessing() ? MorvikTheme::Labels::processing : m_title;
}

QSize LimeActionButton::sizeHint() const {
    const int spinner = isProcessing() ? spinnerSize + spinnerGap : 0;
    return paddedSize(fontMetrics().horizontalAdvance(shownTitle()) + spinner + pictureSize +
                          iconGap,
                      lineHeight, sidePadding, verticalPadding);
}

void LimeActionButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = isPointed() ? Tones::limeHover : MorvikTheme::Colors::lime;
    if (!isEnabled())
        fill = Tones::faded(MorvikTheme::Colors::lime, 0.3);
    paintFrame(painter, rect(), radius, Qt::NoPen, fill);

    const QColor ink = isEnabled() ? Tones::onLime : Tones::disabledLabel;
    const int textWidth = fontMetrics().horizontalAdvance(shownTitle());
    const int spinner = isProcessing() ? spinnerSize + spinnerGap : 0;
    int x = (width() - spinner - pictureSize - iconGap - textWidth) / 2;
    if (isProcessing())
        paintSpinner(painter, QRectF(x, (height() - spinnerSize) / 2.0, spinnerSize, spinnerSize),
                     Tones::onLime);
    x += spinner;
    paintIcon(painter, iconName(),
              QRectF(x, (height() - pictureSize) / 2, pictureSize, pictureSize), ink);
    x += pictureSize + iconGap;
    painter.setPen(ink);
    painter.drawText(QRect(x, 0, width() - x, height()), Qt::AlignVCenter | Qt::TextHideMnemonic,
                     shownTitle());
}

} // namespace morvik
