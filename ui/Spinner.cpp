#include "ui/Spinner.h"

#include "ui/Motion.h"
#include "ui/Tones.h"

#include <QPainter>

#include <algorithm>
#include <chrono>

namespace morvik {
namespace {

constexpr int spokes = 8;
constexpr std::chrono::milliseconds spokeTime{100};
constexpr double leastStroke = 1.5;

} // namespace

SpinnerClock::SpinnerClock(QObject* parent) : QTimer(parent) {
    setInterval(spokeTime);
    connect(this, &QTimer::timeout, this, [this] {
        if (isMotionWanted())
            m_step = (m_step + 1) % spokes;
        else
            stop();
    });
}

void SpinnerClock::setRunning(bool isRunning) {
    if (isRunning && isMotionWanted())
        start();
    else
        stop();
}

void SpinnerClock::paint(QPainter& painter, const QRectF& square, const QColor& color) const {
    painter.save();
    painter.translate(square.center());
    const double radius = square.width() / 2;
    const double stroke = std::max(leastStroke, radius / 6);
    for (int spoke = 0; spoke < spokes; ++spoke) {
        const int age = (m_step - spoke + spokes) % spokes;
        painter.setPen(
            QPen(Tones::faded(color, 1 - 0.11 * age), stroke, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(360.0 / spokes * spoke);
        painter.drawLine(QPointF(0, -radius * 0.45), QPointF(0, -radius * 0.9));
        painter.restore();
    }
    painter.restore();
}

Spinner::Spinner(int size, const QColor& color, QWidget* parent)
    : QWidget(parent), m_clock(this), m_color(color) {
    setFixedSize(size, size);
    connect(&m_clock, &QTimer::timeout, this, qOverload<>(&QWidget::update));
}

void Spinner::stop() {
    m_isStopped = true;
    m_clock.setRunning(false);
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    m_clock.paint(painter, rect(), m_color);
}

void Spinner::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_clock.setRunning(!m_isStopped);
}

void Spinner::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_clock.setRunning(false);
}

} // namespace morvik
