#include "app/printing/PrintFields.h"

#include "ui/BorderFrame.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/Icons.h"
#include "ui/Tones.h"

#include <QLineEdit>
#include <QPainter>

#include <algorithm>

namespace kopertal {
namespace {

namespace Tones = morvik::Tones;

constexpr double radius = 6;
constexpr int padding = 10;
constexpr int arrowSize = 14;
constexpr int numberWidth = 64;

int fieldHeight(const QWidget& field) {
    return std::max(32, field.fontMetrics().height() + 14);
}

void paintField(QPainter& painter, const QWidget& field) {
    const QColor border = field.hasFocus()     ? Tones::label
                          : field.underMouse() ? Tones::fieldBorderHover
                                               : Tones::fieldBorder;
    morvik::paintFrame(painter, field.rect(), radius, border, Tones::field);
}

void dress(QWidget* field) {
    field->setFont(morvik::textFont());
    field->setAttribute(Qt::WA_Hover);
    morvik::RingShape ring = morvik::limeRing(radius);
    ring.always = true;
    morvik::addFocusRing(field, ring);
}

} // namespace

ChoiceField::ChoiceField(QWidget* parent) : QComboBox(parent) {
    dress(this);
}

QSize ChoiceField::sizeHint() const {
    return {3 * numberWidth, fieldHeight(*this)};
}

void ChoiceField::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintField(painter, *this);
    const QRect inside = rect().adjusted(padding, 0, -padding, 0);
    const QRect text = inside.adjusted(0, 0, -arrowSize - padding, 0);
    painter.setPen(Tones::label);
    painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(currentText(), Qt::ElideMiddle, text.width()));
    painter.drawPixmap(inside.right() - arrowSize, (height() - arrowSize) / 2,
                       morvik::iconPixmap(QStringLiteral("chevron.down"), arrowSize,
                                          Tones::secondaryLabel, devicePixelRatioF()));
}

NumberField::NumberField(QWidget* parent) : QSpinBox(parent) {
    setButtonSymbols(QAbstractSpinBox::NoButtons);
    setFrame(false);
    lineEdit()->setFrame(false);
    dress(this);
}

QSize NumberField::sizeHint() const {
    return {morvik::textPixels(numberWidth), fieldHeight(*this)};
}

void NumberField::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintField(painter, *this);
}

void NumberField::resizeEvent(QResizeEvent* event) {
    QSpinBox::resizeEvent(event);
    lineEdit()->setGeometry(rect().adjusted(padding - 2, 2, -padding, -2));
}

} // namespace kopertal
