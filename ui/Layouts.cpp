#include "ui/Layouts.h"

#include "ui/LimeActionButton.h"

#include <QApplication>
#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>

namespace morvik {
namespace {

constexpr int panePadding = 16;
constexpr int headerHeight = 24;
constexpr int headerGap = 8;
constexpr int actionGap = 16;

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

QWidget* makeDivider(const QColor& color) {
    auto* line = new QWidget;
    line->setFixedHeight(1);
    line->setAutoFillBackground(true);
    line->setPalette(color);
    return line;
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
