#include "ui/Layouts.h"

#include "ui/LimeActionButton.h"

#include <QApplication>
#include <QIcon>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

namespace morvik {
namespace {

constexpr int panePadding = 16;
constexpr int headerHeight = 24;
constexpr int headerGap = 8;
constexpr int actionGap = 16;

/// On a screen with a broken factor a logical pixel covers now one, now two of the screen's.
class Divider : public QWidget {
public:
    Divider(const QColor& color, int indent) : m_color(color), m_indent(indent) {
        setFixedHeight(1);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        const double ratio = devicePixelRatioF();
        QPainter(this).fillRect(QRectF(m_indent, 0, width() - m_indent, std::floor(ratio) / ratio),
                                m_color);
    }

private:
    QColor m_color;
    int m_indent;
};

} // namespace

QVBoxLayout* paneColumn(QWidget* pane, QHBoxLayout* header) {
    auto* headerRow = new QWidget;
    header->setContentsMargins(0, 0, 0, 0);
    header->setSpacing(headerGap);
    headerRow->setLayout(header);
    headerRow->setMinimumHeight(headerHeight);
    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(panePadding, panePadding, panePadding, panePadding);
    column->setSpacing(headerGap);
    column->addWidget(headerRow);
    return column;
}

QWidget* makeDivider(const QColor& color, int indent) {
    return new Divider(color, indent);
}

QHBoxLayout* actionRow(const QList<LimeActionButton*>& buttons) {
    auto* row = new QHBoxLayout;
    row->setSpacing(actionGap);
    for (LimeActionButton* button : buttons)
        row->addWidget(button, 1);
    return row;
}

QHBoxLayout* beside(const QIcon& icon, int pixels, QLayout* words) {
    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    if (!icon.isNull()) {
        auto* picture = new QLabel;
        picture->setPixmap(icon.pixmap(QSize(pixels, pixels), qApp->devicePixelRatio()));
        picture->setAccessibleName(QStringLiteral("Ikona programu"));
        row->addWidget(picture);
    }
    row->addLayout(words, 1);
    return row;
}

} // namespace morvik
