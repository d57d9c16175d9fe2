#include "ui/FocusRing.h"

#include "ui/MorvikTheme.h"
#include "ui/Tones.h"

#include <QFocusEvent>
#include <QFocusFrame>
#include <QPainter>
#include <QPointer>
#include <QStyle>

#include <algorithm>

namespace morvik {
namespace {

constexpr int ringWidth = 2;

/// The toolkit's focus frame stands `style margin` pixels outside the control (see
/// MorvikStyle::frameMargin), enough for every ring.
class RingFrame : public QFocusFrame {
public:
    RingFrame(const RingShape& shape, QWidget* parent) : QFocusFrame(parent), m_shape(shape) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        if (!widget())
            return;
        const int margin = style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this);
        const double out = m_shape.gap + ringWidth / 2.0;
        const QRectF control =
            QRectF(rect()).adjusted(margin, margin, -margin, -margin).marginsRemoved(m_shape.inset);
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(m_shape.color, ringWidth));
        painter.drawRoundedRect(control.adjusted(-out, -out, out, out), m_shape.radius + out,
                                m_shape.radius + out);
    }

private:
    RingShape m_shape;
};

class RingKeeper : public QObject {
public:
    RingKeeper(QWidget* control, const RingShape& shape)
        : QObject(control), m_control(control), m_shape(shape) {
        control->installEventFilter(this);
    }

    ~RingKeeper() override { delete m_frame.data(); }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == m_control && event->type() == QEvent::FocusIn)
            onFocusIn(static_cast<QFocusEvent*>(event)->reason());
        else if (watched == m_control && event->type() == QEvent::FocusOut)
            setShown(false);
        else if (watched == m_control && event->type() == QEvent::MouseButtonPress &&
                 !m_shape.always)
            setShown(false);
        return false;
    }

    bool isShown() const { return m_frame && m_frame->isVisible(); }

private:
    void onFocusIn(Qt::FocusReason reason) {
        if (reason == Qt::MouseFocusReason)
            m_byKeyboard = false;
        else if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason &&
                 reason != Qt::MenuBarFocusReason)
            m_byKeyboard = true;
        setShown(m_shape.always || m_byKeyboard);
    }

    void setShown(bool shown) {
        if (shown && !m_frame)
            m_frame = new RingFrame(m_shape, m_control->parentWidget());
        if (!m_frame)
            return;
        m_frame->setWidget(shown ? m_control : nullptr);
        if (shown) // the toolkit leaves it hidden around what is yet to be scrolled into view
            m_frame->show();
    }

    QWidget* m_control;
    RingShape m_shape;
    QPointer<RingFrame> m_frame;
    bool m_byKeyboard = true;
};

} // namespace

void addFocusRing(QWidget* control, const RingShape& shape) {
    new RingKeeper(control, shape); // goes with the control
}

bool isFocusRingShown(const QWidget* control) {
    const auto& parts = control->children();
    return std::ranges::any_of(parts, [](const QObject* part) {
        const auto* keeper = dynamic_cast<const RingKeeper*>(part);
        return keeper && keeper->isShown();
    });
}

RingShape limeRing(double radius) {
    return {MorvikTheme::Colors::lime, radius, 0, false, {}};
}

RingShape navyRing(double radius, int gap) {
    return {Tones::label, radius, gap, false, {}};
}

} // namespace morvik
