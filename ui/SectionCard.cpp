#include "ui/SectionCard.h"

#include "ui/AccessibleRole.h"
#include "ui/BorderFrame.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
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
    setAccessibleRole(this, QAccessible::Grouping);
    m_layout->setSpacing(titleGap);
    setPadding(defaultPadding);
    if (!title.isEmpty()) {
        m_layout->addWidget(plainLabel(title, headlineFont(), Tones::label));
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
    paintFrame(painter, rect(), radius, QPen(MorvikTheme::Colors::sectionBorder, borderWidth),
               MorvikTheme::Colors::sectionBackground);
    if (m_showsFocus)
        paintFrame(painter,
                   QRectF(rect()).adjusted(borderWidth, borderWidth, -borderWidth, -borderWidth),
                   radius - borderWidth, Tones::label, Qt::NoBrush);
}

bool SectionCard::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        m_showsFocus = event->type() == QEvent::FocusIn;
        update();
    }
    return QFrame::eventFilter(watched, event);
}

} // namespace morvik
