#pragma once

#include <QColor>
#include <QFont>

class QLabel;

namespace morvik {

/// A label for text as it stands, markup or not.
QLabel* textLabel(const QString& text, const QFont& font, const QColor& color);

void setTextColor(QLabel* label, const QColor& color);

} // namespace morvik
