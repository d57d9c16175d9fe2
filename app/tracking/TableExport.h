#pragma once

#include "tracking/TrackingTableModel.h"

#include <QByteArray>
#include <QString>

namespace kopertal {

// The tracking table for other programs, in its sorted order, with a line of titles and the place's
// address in a column of its own. What is not known is left empty.

/// Columns separated by tabs, lines by line feeds; every cell is one line.
QString tableAsText(const TrackingTableModel& model);

/// For spreadsheets: UTF-8 with a byte order mark, semicolons, every cell quoted, lines ended by CR
/// LF. A cell that a spreadsheet would take for a formula begins with an apostrophe. Digits that it
/// would round begin with a tab: text in LibreOffice Calc whatever its import options say, which a
/// formula like ="1" or quotes alone are not; cleanBarcode() drops it.
QByteArray tableAsCsv(const TrackingTableModel& model);

} // namespace kopertal
