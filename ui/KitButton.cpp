#include "ui/KitButton.h"

#include "ui/Tones.h"

#include <QKeyEvent>
#include <QPainter>

#include <chrono>

namespace morvik {
namespace {

constexpr int spokes = 8;
constexpr std::chrono::milliseconds spokeTime{100};

} // namespace

KitButton::KitButton(const QString& title, const QString& iconName, QWidget* parent)
    : QPushButton(title, parent), m_iconName(iconName) {
    setAutoDefault(true); // Return presses a focused button, as Space does
    setAttribute(Qt::WA_Hover);
    m_spinnerTimer.setInterval(spokeTime);
    connect(&m_spinnerTimer, &QTimer::timeout, this, [this] {
        m_spinnerStep = (m_spinnerStep + 1) % spokes;
        update();
    });
}

void KitButton::setIconName(const QString& name) {
    m_iconName = name;
    updateGeometry();
    update();
}

void KitButton::setSpinning(bool isSpinning) {
    m_isSpinning = isSpinning;
    updateTimer();
    updateGeometry();
    update();
}

void KitButton::paintSpinner(QPainter& painter, const QRectF& square, const QColor& color) const {
    painter.save();
    painter.translate(square.center());
    const double radius = square.width() / 2;
    for (int spoke = 0; spoke < spokes; ++spoke) {
        const int age = (m_spinnerStep - spoke + spokes) % spokes;
        painter.setPen(QPen(Tones::faded(color, 1 - 0.11 * age), 1.5, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(360.0 / spokes * spoke);
        painter.drawLine(QPointF(0, -radius * 0.45), QPointF(0, -radius * 0.9));
        painter.restore();
    }
    painter.restore();
}

/// Ctrl+Return is a shortcut, not a press of the button that has the focus.
void KitButton::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && (event->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        event->ignore();
    else
        QPushButton::keyPressEvent(event);
}

void KitButton::showEvent(QShowEvent* event) {
    QPushButton::showEvent(event);
    updateTimer();
}

void KitButton::hideEvent(QHideEvent* event) {
    QPushButton::hideEvent(event);
    updateTimer();
}

void KitButton::updateTimer() {
    if (m_isSpinning && isVisible())
        m_spinnerTimer.start();
    else
        m_spinnerTimer.stop();
}

} // namespace morvik
