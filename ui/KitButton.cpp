#include "ui/KitButton.h"

#include "ui/Fonts.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace morvik {
namespace {

/// The last press by the keyboard of any of these buttons.
struct KeyPress {
    const QWidget* button = nullptr; // which may be gone
    QPointer<QWidget> window;
    QElapsedTimer time;
};

KeyPress& lastKeyPress() {
    static KeyPress press;
    return press;
}

quint64& lastReleaseTime() {
    static quint64 time = 0;
    return time;
}

/// A key that is held is released and pressed in the same moment, again and again; X11 does not
/// always tell.
bool isRepeated(const QKeyEvent* press) {
    return press->isAutoRepeat() ||
           (press->timestamp() != 0 && press->timestamp() == lastReleaseTime());
}

bool isRecent(const QElapsedTimer& time) {
    return time.isValid() && time.elapsed() < QApplication::doubleClickInterval();
}

} // namespace

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

QSize KitButton::paddedSize(int contentWidth, int lineHeight, int sidePadding,
                            int verticalPadding) const {
    return {contentWidth + 2 * sidePadding,
            std::max(textPixels(lineHeight), fontMetrics().height()) + 2 * verticalPadding};
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
    if (isReturn && (event->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier) {
        event->ignore();
        return;
    }
    if (isReturn || event->key() == Qt::Key_Space) {
        if (isRepeated(event)) // its first press has done what it was for
            return;
        const KeyPress before = std::exchange(lastKeyPress(), KeyPress{this, window(), {}});
        lastKeyPress().time.start();
        if (before.button != this && before.window == window() && isRecent(before.time) &&
            isJustShown())
            return;
    }
    QPushButton::keyPressEvent(event);
}

void KitButton::keyReleaseEvent(QKeyEvent* event) {
    lastReleaseTime() = event->timestamp();
    QPushButton::keyReleaseEvent(event);
}

void KitButton::mouseDoubleClickEvent(QMouseEvent* event) {
    if (!isJustShown())
        QPushButton::mouseDoubleClickEvent(event);
}

bool KitButton::isJustShown() const {
    return isRecent(m_shown);
}

void KitButton::showEvent(QShowEvent* event) {
    QPushButton::showEvent(event);
    m_shown.start();
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
