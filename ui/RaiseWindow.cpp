#include "ui/RaiseWindow.h"

#include <QWidget>

namespace morvik {

void raiseWindow(QWidget* window) {
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace morvik
