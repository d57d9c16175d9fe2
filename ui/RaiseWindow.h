#pragma once

class QWidget;

namespace morvik {

/// Shows the window in front of all others, out of the task bar too, and gives it the keyboard.
void raiseWindow(QWidget* window);

} // namespace morvik
