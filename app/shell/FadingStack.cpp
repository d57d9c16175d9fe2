#include "app/shell/FadingStack.h"

#include "ui/Motion.h"

#include <QEasingCurve>
#include <QPainter>

#include <chrono>

namespace kopertal {
namespace {

constexpr std::chrono::milliseconds fadeTime{150};

class Veil : public QWidget {
public:
    explicit Veil(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        hide();
    }

    void setPicture(const QPixmap& picture) { m_picture = picture; }
    void setStrength(qreal strength) {
        m_strength = strength;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setOpacity(m_strength);
        painter.drawPixmap(0, 0, m_picture);
    }

private:
    QPixmap m_picture;
    qreal m_strength = 1;
};

} // namespace

FadingStack::FadingStack(QWidget* parent) : QStackedWidget(parent) {
    auto* veil = new Veil(this);
    m_veil = veil;
    m_fade.setDuration(static_cast<int>(fadeTime.count()));
    m_fade.setEasingCurve(QEasingCurve::InOutQuad);
    m_fade.setStartValue(1.0);
    m_fade.setEndValue(0.0);
    connect(&m_fade, &QVariantAnimation::valueChanged, this,
            [veil](const QVariant& value) { veil->setStrength(value.toReal()); });
    connect(&m_fade, &QVariantAnimation::finished, this, [veil] {
        veil->hide();
        veil->setPicture({});
    });
}

void FadingStack::fadeTo(int index) {
    if (index == currentIndex() || index < 0 || index >= count())
        return;
    auto* veil = static_cast<Veil*>(m_veil);
    m_fade.stop();
    veil->hide();
    const bool fades = isVisible() && currentWidget() && morvik::isMotionWanted();
    if (fades)
        veil->setPicture(currentWidget()->grab());
    setCurrentIndex(index);
    if (!fades)
        return;
    veil->setGeometry(rect());
    veil->setStrength(1);
    veil->raise();
    veil->show();
    m_fade.start();
}

void FadingStack::resizeEvent(QResizeEvent* event) {
    QStackedWidget::resizeEvent(event);
    m_fade.stop();
    m_veil->hide();
}

} // namespace kopertal
