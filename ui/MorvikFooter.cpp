#include "ui/MorvikFooter.h"

#include "ui/AccessibleRole.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/MorvikTheme.h"
#include "ui/OpenAddress.h"
#include "ui/Tones.h"

#include <QPainter>

namespace morvik {
namespace {

constexpr int bottomPadding = 6;
constexpr int gap = 4;
constexpr int dotSize = 4;
constexpr int dotShift = -1; // from the word's upper right corner, right and down
constexpr double ringRadius = 4;
const auto leadIn = QStringLiteral("©");

/// A piece of the label, as it stands on the common base line.
struct Piece {
    QString text;
    QFont font;
    QColor color;

    int width() const { return QFontMetrics(font).horizontalAdvance(text); }
};

QList<Piece> pieces() {
    return {{leadIn, uiFont(10), Tones::secondaryLabel},
            {QStringLiteral("Mor"), uiFont(12, QFont::Bold), Tones::label},
            {QStringLiteral("vik"), uiFont(12), Tones::label}};
}

} // namespace

MorvikFooter::MorvikFooter(QWidget* parent) : KitButton({}, {}, parent) {
    const QString name = QStringLiteral("Morvik — strona internetowa");
    setAccessibleRole(this, QAccessible::Link);
    setAccessibleName(name);
    setToolTip(name);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    RingShape ring = navyRing(ringRadius, 1);
    ring.inset = QMargins(0, 0, 0, bottomPadding);
    addFocusRing(this, ring);
    connect(this, &QPushButton::clicked, this, [] { openAddress(QStringLiteral(MORVIK_WEBSITE)); });
}

QSize MorvikFooter::sizeHint() const {
    int width = gap;
    for (const Piece& piece : pieces())
        width += piece.width();
    return {width, QFontMetrics(uiFont(12)).height() - dotShift + bottomPadding};
}

void MorvikFooter::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int top = -dotShift;
    const int baseLine = top + QFontMetrics(uiFont(12)).ascent();
    int x = 0;
    for (const Piece& piece : pieces()) {
        painter.setFont(piece.font);
        painter.setPen(piece.color);
        painter.drawText(x, baseLine, piece.text);
        x += piece.width() + (piece.text == leadIn ? gap : 0);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(MorvikTheme::Colors::lime);
    painter.drawEllipse(QRectF(x - dotSize + dotShift, top + dotShift, dotSize, dotSize));
}

} // namespace morvik
