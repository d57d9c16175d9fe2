#include "ui/SectionCard.h"

#include "ui/Fonts.h"
#include "ui/MorvikTheme.h"
#include "ui/Tones.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace morvik {
namespace {

constexpr int defaultPadding = 16;
constexpr int titleGap = 12;
constexpr double radius = 10;
constexpr double borderWidth = 1.5;

} // namespace

SectionCard::SectionCard(const QString& title, QWidget* content, QWidget* parent)
    : QFrame(parent), m_layout(new QVBoxLayout(this)) {
    m_layout->setSpacing(titleGap);
    setPadding(defaultPadding);
    if (!title.isEmpty()) {
        auto* heading = new QLabel(title);
        heading->setTextFormat(Qt::PlainText);
        heading->setFont(headlineFont());
        m_layout->addWidget(heading);
    }
    m_layout->addWidget(content, 1);
}

void SectionCard::setPadding(int pixels) {
    m_layout->setContentsMargins(pixels, pixels, pixels, pixels);
}

void SectionCard::followFocusOf(QWidget* inner) {
    inner->installEventFilter(this);
}

void SectionCard::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr double half = borderWidth / 2;
    const QRectF frame = QRectF(rect()).adjusted(half, half, -half, -half);
    painter.setPen(QPen(MorvikTheme::Colors::sectionBorder, borderWidth));
    painter.setBrush(MorvikTheme::Colors::sectionBackground);
    painter.drawRoundedRect(frame, radius - half, radius - half);
    if (!m_showsFocus)
        return;
    constexpr double inside = half + 0.5;
    painter.setPen(QPen(Tones::label, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(frame.adjusted(inside, inside, -inside, -inside), radius - 2,
                            radius - 2);
}

bool SectionCard::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        m_showsFocus = event->type() == QEvent::FocusIn;
        update();
    }
    return QFrame::eventFilter(watched, event);
}

} // namespace morvik
