#pragma once

#include <QAccessible>

class QWidget;

namespace morvik {

/// Tells a screen reader what `widget` is, where its class says something else or nothing. Its name
/// is its accessible name, else its window's title or its button's text. A dialog of ours holds its
/// window; a tab is selected while its button is checked.
void setAccessibleRole(QWidget* widget, QAccessible::Role role);

} // namespace morvik
