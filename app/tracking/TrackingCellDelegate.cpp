#include "app/tracking/TrackingCellDelegate.h"

#include "app/common/Theme.h"
#include "app/tracking/ShownText.h"
#include "tracking/TrackingTableModel.h"
#include "ui/Fonts.h"
#include "ui/PlainToolTip.h"

#include <QHelpEvent>
#include <QPainter>
#include <QTextLayout>
#include <QToolTip>

#include <algorithm>
#include <vector>

namespace kopertal {
namespace {

constexpr int lineGap = 2;
constexpr int numberPadding = 4; // at the left, so that four digits have room

struct CellLine {
    QString text;
    QFont font;
    QColor ink;
};

/// What a cell shows, as one or two lines that fit its width.
struct Cell {
    std::vector<CellLine> lines;
    bool isCut = false;
};

/// The text in one line where it fits, else broken at a word into two.
Cell brokenText(const QString& text, const QFont& font, const QColor& ink, int width) {
    const QFontMetrics metrics(font);
    if (metrics.horizontalAdvance(text) <= width)
        return {{{text, font, ink}}};
    QTextLayout layout(text, font);
    QTextOption wrapping;
    wrapping.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(wrapping);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(width);
    const int end = line.textLength();
    layout.endLayout();
    const QString rest = text.mid(end).trimmed();
    const QString second = metrics.elidedText(rest, Qt::ElideRight, width);
    return {{{text.first(end).trimmed(), font, ink}, {second, font, ink}}, second != rest};
}

Cell elidedLines(std::vector<CellLine> lines, int width) {
    Cell cell{std::move(lines)};
    for (CellLine& line : cell.lines) {
        const QString elided = QFontMetrics(line.font).elidedText(line.text, Qt::ElideRight, width);
        cell.isCut = cell.isCut || elided != line.text;
        line.text = elided;
    }
    return cell;
}

Cell cellAt(const QModelIndex& index, int width) {
    const QString whole = index.data().toString();
    const QString text = shownText(whole);
    switch (index.column()) {
    case TrackingTableModel::rowNumberColumn:
        return {{{text, morvik::smallFont(), Theme::textMuted}}};
    case TrackingTableModel::trackingNumberColumn:
        return elidedLines({{text, morvik::monoFont(11), Theme::primary}}, width);
    case TrackingTableModel::statusColumn: {
        const int color = index.data(TrackingTableModel::StatusColorRole).toInt();
        return brokenText(text, morvik::uiFont(12, QFont::Medium),
                          statusInk(static_cast<StatusColor>(color)), width);
    }
    case TrackingTableModel::dateColumn: // a dash of the interface's own width
        return elidedLines(
            {{text, text == u"—" ? morvik::uiFont(11) : morvik::monoFont(11), Theme::textMuted}},
            width);
    default:
        break;
    }
    const bool isUnknown = whole == u"—";
    std::vector<CellLine> lines{{text,
                                 morvik::uiFont(11, isUnknown ? QFont::Normal : QFont::Medium),
                                 isUnknown ? Theme::textMuted : Theme::textMain}};
    const QString address = index.data(TrackingTableModel::PlaceSecondLineRole).toString();
    if (!address.isEmpty())
        lines.push_back({shownText(address), morvik::uiFont(10), Theme::textMuted});
    return elidedLines(std::move(lines), width);
}

QString wholeText(const QModelIndex& index) {
    QStringList lines{index.data().toString()};
    if (index.column() == TrackingTableModel::placeColumn)
        lines += index.data(TrackingTableModel::PlaceSecondLineRole).toString();
    return lines.join(u'\n').trimmed();
}

QRect textRect(const QRect& cell, const QModelIndex& index) {
    constexpr int padding = TrackingCellDelegate::cellPadding;
    const bool isNumber = index.column() == TrackingTableModel::rowNumberColumn;
    return cell.adjusted(isNumber ? numberPadding : padding, 0, -padding, -1);
}

} // namespace

void TrackingCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const {
    paintGround(painter, option, index);
    const QRect room = textRect(option.rect, index);
    const Cell cell = cellAt(index, room.width());
    int height = lineGap * static_cast<int>(cell.lines.size() - 1);
    for (const CellLine& line : cell.lines)
        height += QFontMetrics(line.font).height();
    int top = room.top() + std::max(0, room.height() - height) / 2;
    const int alignment =
        index.column() == TrackingTableModel::rowNumberColumn ? Qt::AlignRight : Qt::AlignLeft;
    for (const CellLine& line : cell.lines) {
        const int lineHeight = QFontMetrics(line.font).height();
        painter->setFont(line.font);
        painter->setPen(line.ink);
        painter->drawText(QRect(room.left(), top, room.width(), lineHeight),
                          alignment | Qt::AlignVCenter | Qt::TextSingleLine, line.text);
        top += lineHeight + lineGap;
    }
}

bool TrackingCellDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                     const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() != QEvent::ToolTip)
        return TableCellDelegate::helpEvent(event, view, option, index);
    const bool isCut = index.isValid() && cellAt(index, textRect(option.rect, index).width()).isCut;
    QToolTip::showText(event->globalPos(),
                       isCut ? morvik::plainToolTip(wholeText(index)) : QString(), view,
                       option.rect);
    return true;
}

} // namespace kopertal
