#pragma once

#include "tracking/TrackingRow.h"

#include <QTextCursor>
#include <QTextEdit>

#include <optional>

class QTextBlock;

namespace kopertal {

/// The details pane: all that is known of one shipment, as text that can be selected and copied.
/// A long history is put in bit by bit, so that the window never waits for it.
class ShipmentDetails : public QTextEdit {
    Q_OBJECT

public:
    explicit ShipmentDetails(QWidget* parent = nullptr);

    /// Shows the row. The same row stays scrolled to where it was.
    void showRow(const TrackingRow& row);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void writeHead();
    void writeDetail(const QString& label, const QString& value, const QColor& ink, bool isBold);
    void writeDivider();
    void writeEvent(const TrackingEvent& event);
    void writeEvents();
    double firstLineMiddle(const QTextBlock& block) const;
    void paintMark(QPainter& painter, const QTextBlock& block) const;

    std::optional<TrackingRow> m_row;
    QTextCursor m_end;
    qsizetype m_writtenEvents = 0;
    int m_writing = 0; // the timer while events are left
};

} // namespace kopertal
