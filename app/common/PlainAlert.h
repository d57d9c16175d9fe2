#pragma once

#include <QColor>
#include <QString>

class QMessageBox;
class QWidget;

namespace kopertal {

/// More of a message does not fit a screen.
inline constexpr qsizetype longestAlert = 1500;
inline constexpr qsizetype mostAlertLines = 20;

/// An alert with the button "OK", not shown yet, that goes when it is closed. All its words are
/// shown as they are, whoever wrote them, and a message beyond these bounds is cut with "…". A word
/// too long for a line is broken by zero width spaces; a screen reader gets it without.
QMessageBox* plainAlert(QWidget* window, const QString& title, const QString& message,
                        const QString& icon, const QColor& ink);

} // namespace kopertal
