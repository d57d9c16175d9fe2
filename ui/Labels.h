#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QLabel;
class QWidget;

namespace morvik {

/// The colour of the text that `widget` shows.
void setInk(QWidget* widget, const QColor& color);

/// The colour behind what `widget` shows; its texts and fields keep theirs.
void setGround(QWidget* widget, const QColor& color);

/// A line of text that is shown as it is, never taken for markup.
QLabel* plainLabel(const QString& text, const QFont& font, const QColor& color);

/// The same, for text that may need several lines.
QLabel* wrappedLabel(const QString& text, const QFont& font, const QColor& color);

/// The same, its lines in the middle.
QLabel* centredLabel(const QString& text, const QFont& font, const QColor& color);

} // namespace morvik
