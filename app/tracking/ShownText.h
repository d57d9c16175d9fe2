#pragma once

#include "tracking/TrackingRow.h"

#include <QColor>
#include <QString>

namespace kopertal {

// How texts of the tracking service are put on the screen.

/// `text` as one line of plain characters: control characters and line ends become spaces, and
/// after `most` characters there is an ellipsis, for a text may have megabytes.
QString shownText(const QString& text, qsizetype most = 500);

/// The same, and "—" for an empty text.
QString shownTextOrDash(const QString& text);

QColor statusInk(StatusColor color);

} // namespace kopertal
