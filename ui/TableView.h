#pragma once

#include <QStyledItemDelegate>
#include <QTableView>

namespace morvik {

/// A table in the kit's look: hairlines, a hover tone, selected rows in pale lime with a bar at the
/// left; the grey of an inactive window. Cells take font, colour and alignment from their model.
class TableView : public QTableView {
    Q_OBJECT

public:
    explicit TableView(QWidget* parent = nullptr);

    /// The same for all rows, times the desktop's text factor.
    void setRowHeight(int pixels);

    /// A rounded border; the content is cut at its corners.
    void setBordered(bool isBordered);

    /// Gives `column` this share (0 to 1) of the width that it and the last column have together,
    /// at every width of the table; dragging its edge sets another share.
    void shareWidth(int column, double share);

    /// What the user has made of the columns: the share in thousandths, where there is one, else
    /// the widths of the columns that can be dragged.
    QList<int> columns() const;
    /// Nothing changes unless all of it is a share or are widths that a screen has room for.
    void setColumns(const QList<int>& columns);

    int hoveredRow() const { return m_hoveredRow; }

protected:
    bool viewportEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void updateGeometries() override;

private:
    void setHoveredRow(int row);
    QList<int> draggedColumns() const;
    int sharedWidth() const;
    void setShare(double share);
    void applyShare();
    void raiseBorder();

    QWidget* m_border = nullptr;
    int m_hoveredRow = -1;
    int m_sharedColumn = -1;
    double m_share = 0;
    bool m_isSharing = false; // the width is ours, not the user's
};

/// Draws the cells of a TableView.
class TableCellDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    /// At the left and right of every cell's text.
    static constexpr int cellPadding = 8;

    explicit TableCellDelegate(TableView* table);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

protected:
    /// The row's ground, its hairline and, in the first column, the bar of a selected row.
    void paintGround(QPainter* painter, const QStyleOptionViewItem& option,
                     const QModelIndex& index) const;

private:
    TableView* m_table;
};

} // namespace morvik
