#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QLabel;

namespace morvik {

/// A label of plain text, whatever that holds.
QLabel* plainLabel(const QString& text, const QFont& font, const QColor& color);

/// `text` for a tooltip, which otherwise guesses whether a text is markup: shown as it stands, in
/// lines of readable length. At most 500 characters of it. Empty for an empty text.
QString plainToolTip(const QString& text);

} // namespace morvik
