#include "app/scanning/QrCodeView.h"

#include "app/common/Theme.h"
#include "scan/QrCode.h"
#include "ui/AccessibleRole.h"

#include <QPainter>

namespace kopertal {
namespace {

constexpr int border = 1;
constexpr double radius = 4;

} // namespace

QrCodeView::QrCodeView(int side, int padding, QWidget* parent) : QWidget(parent) {
    const int frame = side + 2 * (padding + border);
    setFixedSize(frame, frame);
    morvik::setAccessibleRole(this, QAccessible::Graphic);
    setAccessibleName(QStringLiteral("Kod QR"));
}

/// Of the white square without its border: the padding is part of the code's own white.
int QrCodeView::codePixels() const {
    return qFloor((width() - 2 * border) * devicePixelRatioF());
}

bool QrCodeView::setText(const QString& text) {
    m_text = text;
    m_code = makeQRCode(text, codePixels());
    setAccessibleDescription(text);
    update();
    return !m_code.isNull();
}

void QrCodeView::paintEvent(QPaintEvent*) {
    if (!m_text.isEmpty() && m_code.width() != codePixels()) // moved to another screen
        m_code = makeQRCode(m_text, codePixels());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::border, border));
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    m_code.setDevicePixelRatio(devicePixelRatioF());
    painter.setCompositionMode(QPainter::CompositionMode_Multiply); // leaves the corners round
    painter.drawImage(QPointF(border, border), m_code);
}

} // namespace kopertal
