#include "app/tracking/TrackingTable.h"

#include "app/common/ErrorAlert.h"
#include "app/common/WaitingThreads.h"
#include "app/tracking/TableExport.h"
#include "app/tracking/TrackingCellDelegate.h"
#include "net/Deliver.h"
#include "tracking/TrackingTableModel.h"
#include "ui/Fonts.h"

#include <QActionGroup>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDate>
#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHeaderView>
#include <QMenu>
#include <QSaveFile>
#include <QStandardPaths>
#include <QtConcurrentRun>

#include <algorithm>

namespace kopertal {
namespace {

constexpr int twoLineRow = 40;
constexpr int numberColumnWidth = 36;
constexpr int leastPlaceWidth = 140;
constexpr int goodPlaceWidth = 200;

bool isSortable(int column) {
    return column == TrackingTableModel::trackingNumberColumn ||
           column == TrackingTableModel::dateColumn;
}

int columnOf(SortComparator::Field field) {
    return field == SortComparator::Field::trackingNumber ? TrackingTableModel::trackingNumberColumn
                                                          : TrackingTableModel::dateColumn;
}

/// What went wrong; empty when all of `bytes` is in the file. Any thread.
QString writeWhole(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return {};
    return file.errorString();
}

QString proposedFile() {
    QDir folder(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    if (!folder.exists())
        folder = QDir::home();
    return folder.filePath(QStringLiteral("sledzenie_%1.csv")
                               .arg(QDate::currentDate().toString(QStringLiteral("yyyyMMdd"))));
}

} // namespace

TrackingTable::TrackingTable(TrackingTableModel& model, QWidget* parent)
    : TableView(parent), m_model(model) {
    setItemDelegate(new TrackingCellDelegate(this));
    setModel(&model);
    setObjectName(QStringLiteral("tracking.columns"));
    setRowHeight(twoLineRow);
    setSelectionMode(SingleSelection);
    setAccessibleName(QStringLiteral("Przesyłki"));
    QHeaderView* header = horizontalHeader();
    header->setSectionsClickable(true);
    header->setSortIndicatorShown(true);
    header->setSectionResizeMode(TrackingTableModel::rowNumberColumn, QHeaderView::Fixed);
    header->setSectionResizeMode(TrackingTableModel::placeColumn, QHeaderView::Fixed);
    setColumnWidth(TrackingTableModel::trackingNumberColumn, morvik::textPixels(190));
    setColumnWidth(TrackingTableModel::statusColumn, morvik::textPixels(160));
    setColumnWidth(TrackingTableModel::dateColumn, morvik::textPixels(130));
    connect(header, &QHeaderView::sectionClicked, this, &TrackingTable::sortBy);
    connect(header, &QHeaderView::sectionDoubleClicked, this, &TrackingTable::sortBy);
    connect(header, &QHeaderView::sectionResized, this, [this](int column) {
        if (column != TrackingTableModel::placeColumn)
            fitColumns();
    });
    connect(&model, &QAbstractItemModel::modelReset, this, &TrackingTable::fitColumns);
    showSortMark();
    fitColumns();
}

/// The first column grows with the numbers in it, the last one takes the rest.
void TrackingTable::fitColumns() {
    const QString widest(QString::number(m_model.rowCount()).size(), u'0');
    const int padding = morvik::TableCellDelegate::cellPadding;
    const int needed =
        QFontMetrics(morvik::smallFont()).horizontalAdvance(widest) + padding + padding / 2;
    setColumnWidth(TrackingTableModel::rowNumberColumn,
                   std::max(morvik::textPixels(numberColumnWidth), needed));
    setColumnWidth(
        TrackingTableModel::placeColumn,
        std::max(morvik::textPixels(leastPlaceWidth), viewport()->width() - widthBeforePlaces()));
}

int TrackingTable::widthBeforePlaces() const {
    int taken = 0;
    for (int column = 0; column < TrackingTableModel::placeColumn; ++column)
        taken += columnWidth(column);
    return taken;
}

int TrackingTable::wantedWidth() const {
    return widthBeforePlaces() + morvik::textPixels(goodPlaceWidth) + width() - viewport()->width();
}

void TrackingTable::resizeEvent(QResizeEvent* event) {
    TableView::resizeEvent(event);
    fitColumns();
}

void TrackingTable::sortBy(int column) {
    if (isSortable(column)) {
        const SortComparator& now = m_model.sortOrder().constFirst();
        const bool isReversed = columnOf(now.field) == column && now.order == Qt::AscendingOrder;
        m_model.sort(column, isReversed ? Qt::DescendingOrder : Qt::AscendingOrder);
        if (const auto position = selectedPosition())
            scrollTo(m_model.index(*position, 0));
    }
    showSortMark();
}

/// The header moves its mark to whatever is clicked.
void TrackingTable::showSortMark() {
    const SortComparator& order = m_model.sortOrder().constFirst();
    horizontalHeader()->setSortIndicator(columnOf(order.field), order.order);
}

std::optional<int> TrackingTable::selectedPosition() const {
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? std::nullopt : std::optional(rows.constFirst().row());
}

void TrackingTable::selectRowID(const std::optional<QUuid>& id) {
    const std::optional<int> position = id ? m_model.positionOf(*id) : std::nullopt;
    m_isSelecting = true;
    if (position)
        selectionModel()->setCurrentIndex(m_model.index(*position, 0),
                                          QItemSelectionModel::ClearAndSelect |
                                              QItemSelectionModel::Rows);
    else
        selectionModel()->clear();
    m_isSelecting = false;
}

void TrackingTable::selectionChanged(const QItemSelection& selected,
                                     const QItemSelection& deselected) {
    TableView::selectionChanged(selected, deselected);
    if (m_isSelecting)
        return;
    const std::optional<int> position = selectedPosition();
    Q_EMIT rowSelected(position ? std::optional(m_model.rowAt(*position).id()) : std::nullopt);
}

void TrackingTable::copy() {
    if (const auto position = selectedPosition())
        QGuiApplication::clipboard()->setText(m_model.rowAt(*position).trackingNumber);
}

void TrackingTable::copyTable() {
    QGuiApplication::clipboard()->setText(tableAsText(m_model));
}

void TrackingTable::saveCsv() {
    auto* panel = new QFileDialog(this, QStringLiteral("Zapisz jako CSV"), proposedFile(),
                                  QStringLiteral("Tabele CSV (*.csv)"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setDefaultSuffix(QStringLiteral("csv"));
    connect(panel, &QFileDialog::fileSelected, this, [this](const QString& path) {
        deliver(QtConcurrent::run(&waitingThreads(), writeWhole, path, tableAsCsv(m_model)), this,
                [path](const QString& failure) {
                    if (!failure.isEmpty())
                        showError(QStringLiteral("Nie udało się zapisać pliku %1: %2")
                                      .arg(QDir::toNativeSeparators(path), failure));
                });
    });
    panel->open();
}

void TrackingTable::contextMenuEvent(QContextMenuEvent* event) {
    const std::optional<int> position = selectedPosition();
    QPoint at = event->globalPos();
    if (event->reason() == QContextMenuEvent::Keyboard && position)
        at = viewport()->mapToGlobal(visualRect(m_model.index(*position, 1)).bottomLeft());
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setAccessibleName(accessibleName());
    QAction* number = menu->addAction(QStringLiteral("&Kopiuj numer"), this, &TrackingTable::copy);
    number->setShortcut(QKeySequence::Copy);
    number->setShortcutContext(Qt::WidgetShortcut); // shown only: the table takes the key itself
    number->setEnabled(position.has_value());
    menu->addSeparator();
    menu->addAction(QStringLiteral("Kopiuj &tabelę"), this, &TrackingTable::copyTable);
    menu->addAction(QStringLiteral("&Zapisz jako CSV…"), this, &TrackingTable::saveCsv);
    menu->addSeparator();
    const auto addSorting = [&](const QString& title, int column) {
        QAction* action = menu->addAction(title, this, [this, column] { sortBy(column); });
        action->setCheckable(true);
        action->setChecked(columnOf(m_model.sortOrder().constFirst().field) == column);
    };
    addSorting(QStringLiteral("Sortuj według &numeru"), TrackingTableModel::trackingNumberColumn);
    addSorting(QStringLiteral("Sortuj według &daty statusu"), TrackingTableModel::dateColumn);
    menu->popup(at);
}

void TrackingTable::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy))
        copy();
    else if (event->key() == Qt::Key_Escape)
        clearSelection();
    else if ((event->key() == Qt::Key_Down || event->key() == Qt::Key_Up) && !selectedPosition())
        selectRow(std::max(0, currentIndex().row())); // not the row after it
    else if (event->matches(QKeySequence::MoveToStartOfLine))
        selectRow(0);
    else if (event->matches(QKeySequence::MoveToEndOfLine))
        selectRow(m_model.rowCount() - 1);
    else
        TableView::keyPressEvent(event);
}

} // namespace kopertal
