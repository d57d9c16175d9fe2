#include "ui/KitButton.h"

#include <QKeyEvent>

namespace morvik {
KitButton::KitButton(const QString& title, const QString& iconName, QWidget* parent)
    : QPushButton(title, parent), m_iconName(iconName), m_spinner(this) {
    setAutoDefault(true); // Return presses a focused button, as Space does
    setAttribute(Qt::WA_Hover);
    connect(&m_spinner, &QTimer::timeout, this, qOverload<>(&QWidget::update));
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
    m_spinner.paint(painter, square, color);
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
    m_spinner.setRunning(m_isSpinning && isVisible());
}

} // namespace morvik
