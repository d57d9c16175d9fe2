#pragma once

#include "ui/TableView.h"

#include <QUuid>

#include <optional>

namespace kopertal {

class TrackingTableModel;

/// The view of the tracking table: its columns, sorting by their headers, one selected row that is
/// known by its identity, and the menu that takes texts out of it.
class TrackingTable : public morvik::TableView {
    Q_OBJECT

public:
    /// `model` outlives the table.
    explicit TrackingTable(TrackingTableModel& model, QWidget* parent = nullptr);

    /// Selects the row, or none; a row that does not exist is none. Announces nothing.
    void selectRowID(const std::optional<QUuid>& id);

    /// In which the last column is not cut for most places.
    int wantedWidth() const;

public Q_SLOTS:
    /// Puts the selected row's number on the clipboard.
    void copy();
    void copyTable();
    /// Asks for a file and writes the table into it.
    void saveCsv();

Q_SIGNALS:
    /// The user selected another row, or none.
    void rowSelected(const std::optional<QUuid>& id);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void selectionChanged(const QItemSelection& selected,
                          const QItemSelection& deselected) override;

private:
    void sortBy(int column);
    void fitColumns();
    int widthBeforePlaces() const;
    void showSortMark();
    std::optional<int> selectedPosition() const;

    TrackingTableModel& m_model;
    bool m_isSelecting = false; // by selectRowID()
};

} // namespace kopertal
