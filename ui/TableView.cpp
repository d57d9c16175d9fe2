#include "ui/TableView.h"

#include "ui/Fonts.h"
#include "ui/Icons.h"
#include "ui/Labels.h"
#include "ui/MorvikTheme.h"
#include "ui/Tones.h"

#include <QEvent>
#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScopedValueRollback>
#include <QScreen>
#include <QScrollBar>

#include <algorithm>

namespace morvik {
namespace {

constexpr int headerHeight = 30;
constexpr int cellPadding = TableCellDelegate::cellPadding;
constexpr int sortMark = 10;
constexpr int selectionBar = 3;
constexpr double radius = 10;
constexpr int wholeShare = 1000;
constexpr double leastShare = 0.05; // that both columns keep

/// Muted titles over a hairline, with short separators between the columns.
class ColumnHeader : public QHeaderView {
public:
    explicit ColumnHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
        setFont(columnHeaderFont());
        setFixedHeight(textPixels(headerHeight));
        setHighlightSections(false);
        setSectionsClickable(false);
        setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        setMinimumSectionSize(32);
    }

protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(viewport());
        painter.fillRect(viewport()->rect(), Tones::tableHeader);
        painter.fillRect(QRect(0, height() - 1, viewport()->width(), 1), Tones::border);
        painter.end();
        QHeaderView::paintEvent(event);
    }

    void paintSection(QPainter* painter, const QRect& rect, int section) const override {
        const bool isSorted = isSortIndicatorShown() && sortIndicatorSection() == section;
        painter->fillRect(rect.adjusted(0, 0, 0, -1), Tones::tableHeader);
        painter->fillRect(QRect(rect.x(), rect.bottom(), rect.width(), 1), Tones::border);
        painter->setFont(font());
        painter->setPen(isSorted ? Tones::label : Tones::mutedLabel);
        const QVariant alignment =
            model()->headerData(section, Qt::Horizontal, Qt::TextAlignmentRole);
        QRect cell = rect.adjusted(cellPadding, 0, -cellPadding, 0);
        if (isSorted) {
            const bool isAscending = sortIndicatorOrder() == Qt::AscendingOrder;
            const QRect mark(cell.right() - sortMark, (rect.height() - sortMark) / 2, sortMark,
                             sortMark);
            paintIcon(*painter,
                      isAscending ? QStringLiteral("chevron.up") : QStringLiteral("chevron.down"),
                      mark, Tones::label);
            cell.setRight(mark.left() - cellPadding / 2);
        }
        const QString title = model()->headerData(section, Qt::Horizontal).toString();
        painter->drawText(cell, alignment.isValid() ? alignment.toInt() : int(defaultAlignment()),
                          painter->fontMetrics().elidedText(title, Qt::ElideRight, cell.width()));
        if (visualIndex(section) + 1 < count())
            painter->fillRect(QRect(rect.right(), rect.y() + 7, 1, rect.height() - 14),
                              Tones::border);
    }
};

/// The header's end over the vertical scroll bar.
class HeaderEnd : public QWidget {
public:
    explicit HeaderEnd(const QWidget& header) { setFixedHeight(header.height()); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), Tones::tableHeader);
        painter.fillRect(QRect(0, height() - 1, width(), 1), Tones::border);
    }
};

/// Over the table: its border, and the window's ground outside of the rounded corners.
class BorderOverlay : public QWidget {
public:
    explicit BorderOverlay(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        QPainterPath outside;
        outside.addRect(rect());
        outside.addRoundedRect(frame, radius, radius);
        painter.fillPath(outside, parentWidget()->parentWidget()->palette().window());
        painter.setPen(QPen(Tones::border, 1));
        painter.drawRoundedRect(frame, radius, radius);
    }
};

} // namespace

TableView::TableView(QWidget* parent) : QTableView(parent) {
    setHorizontalHeader(new ColumnHeader(this));
    addScrollBarWidget(new HeaderEnd(*horizontalHeader()), Qt::AlignTop);
    setItemDelegate(new TableCellDelegate(this));
    setFrameShape(QFrame::NoFrame);
    setShowGrid(false);
    setWordWrap(false);
    setFont(smallFont());
    setGround(this, Tones::field); // beside the scroll bars too
    setMouseTracking(true);
    setTabKeyNavigation(false);
    setCornerButtonEnabled(false);
    setCornerWidget(new QWidget); // nothing between the scroll bars
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setHorizontalScrollMode(ScrollPerPixel);
    setVerticalScrollMode(ScrollPerPixel);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    setRowHeight(30);
    // Scroll bars come to the front when they appear.
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, &TableView::raiseBorder,
            Qt::QueuedConnection);
}

void TableView::setRowHeight(int pixels) {
    verticalHeader()->setMinimumSectionSize(textPixels(pixels));
    verticalHeader()->setDefaultSectionSize(textPixels(pixels));
}

void TableView::setBordered(bool isBordered) {
    delete m_border;
    m_border = isBordered ? new BorderOverlay(this) : nullptr;
    if (m_border) {
        m_border->setGeometry(rect());
        m_border->show();
    }
}

void TableView::shareWidth(int column, double share) {
    m_sharedColumn = column;
    m_share = share;
    horizontalHeader()->setStretchLastSection(true);
    connect(horizontalHeader(), &QHeaderView::sectionResized, this,
            [this](int section, int, int width) {
                if (section == m_sharedColumn && !m_isSharing && sharedWidth() > 0)
                    setShare(static_cast<double>(width) / sharedWidth());
            });
    applyShare();
}

QList<int> TableView::draggedColumns() const {
    QList<int> columns;
    for (int column = 0; column < horizontalHeader()->count(); ++column) {
        if (horizontalHeader()->sectionResizeMode(column) == QHeaderView::Interactive)
            columns << column;
    }
    return columns;
}

QList<int> TableView::columns() const {
    if (m_sharedColumn >= 0)
        return {qRound(m_share * wholeShare)};
    QList<int> widths;
    for (const int column : draggedColumns())
        widths << columnWidth(column);
    return widths;
}

void TableView::setColumns(const QList<int>& columns) {
    const auto areWithin = [&](int least, int most) {
        return std::all_of(columns.begin(), columns.end(),
                           [&](int value) { return value >= least && value <= most; });
    };
    if (m_sharedColumn >= 0) {
        if (columns.size() == 1 && areWithin(0, wholeShare))
            setShare(static_cast<double>(columns.front()) / wholeShare);
        return;
    }
    const QList<int> dragged = draggedColumns();
    if (columns.size() != dragged.size() ||
        !areWithin(horizontalHeader()->minimumSectionSize(), screen()->availableSize().width()))
        return;
    for (qsizetype i = 0; i < dragged.size(); ++i)
        setColumnWidth(dragged[i], columns[i]);
}

int TableView::sharedWidth() const {
    int width = viewport()->width();
    for (int column = 0; column + 1 < horizontalHeader()->count(); ++column)
        width -= column == m_sharedColumn ? 0 : columnWidth(column);
    return width;
}

void TableView::setShare(double share) {
    m_share = std::clamp(share, leastShare, 1 - leastShare);
    applyShare();
}

void TableView::applyShare() {
    if (m_sharedColumn < 0)
        return;
    const QScopedValueRollback sharing(m_isSharing, true);
    setColumnWidth(m_sharedColumn, qRound(sharedWidth() * m_share));
}

void TableView::resizeEvent(QResizeEvent* event) {
    applyShare();
    QTableView::resizeEvent(event);
    if (m_border)
        m_border->setGeometry(rect());
}

void TableView::updateGeometries() {
    QTableView::updateGeometries();
    raiseBorder();
}

void TableView::raiseBorder() {
    if (m_border)
        m_border->raise();
}

bool TableView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave)
        setHoveredRow(-1);
    else if (event->type() == QEvent::MouseMove)
        setHoveredRow(rowAt(static_cast<QMouseEvent*>(event)->pos().y()));
    else if (event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate)
        viewport()->update();
    return QTableView::viewportEvent(event);
}

void TableView::setHoveredRow(int row) {
    if (row == m_hoveredRow)
        return;
    m_hoveredRow = row;
    viewport()->update();
}

TableCellDelegate::TableCellDelegate(TableView* table)
    : QStyledItemDelegate(table), m_table(table) {
}

void TableCellDelegate::paintGround(QPainter* painter, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) const {
    const bool isSelected = option.state & QStyle::State_Selected;
    const bool isActive = m_table->isActiveWindow(); // wherever in it the keyboard is
    QColor ground = Tones::field;
    if (isSelected)
        ground = isActive ? Tones::rowSelected : Tones::rowSelectedInactive;
    else if (m_table->hoveredRow() == index.row())
        ground = Tones::rowHover;
    painter->fillRect(option.rect, ground);
    painter->fillRect(QRect(option.rect.x(), option.rect.bottom(), option.rect.width(), 1),
                      Tones::hairline);
    if (isSelected && isActive &&
        m_table->columnViewportPosition(index.column()) == -m_table->horizontalHeader()->offset())
        painter->fillRect(
            QRect(option.rect.x(), option.rect.y(), selectionBar, option.rect.height()),
            MorvikTheme::Colors::lime);
}

void TableCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    paintGround(painter, option, index);
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    painter->setFont(cell.font);
    painter->setPen(cell.palette.color(QPalette::Text));
    const QRect text = cell.rect.adjusted(cellPadding, 0, -cellPadding, -1);
    const bool isRight = cell.displayAlignment.testFlag(Qt::AlignRight);
    painter->drawText(text,
                      int((isRight ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter) |
                          Qt::TextSingleLine,
                      cell.fontMetrics.elidedText(cell.text, Qt::ElideRight, text.width()));
}

} // namespace morvik
