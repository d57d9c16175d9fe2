#pragma once

#include "ui/TableView.h"

namespace kopertal {

/// Draws the cells of the tracking table, over a TrackingTableModel, and shows in a tooltip what a
/// cell has no room for.
class TrackingCellDelegate : public morvik::TableCellDelegate {
    Q_OBJECT

public:
    using TableCellDelegate::TableCellDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
};

} // namespace kopertal
