#include "ui/MorvikHelpWindow.h"

#include "ui/AccessibleRole.h"
#include "ui/RaiseWindow.h"

#include <QApplication>
#include <QPointer>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>
#include <QWidget>

namespace morvik::MorvikHelpWindow {
namespace {

QPointer<QWidget> window;

} // namespace

void show(const QString& title, int width, int height, const std::function<QWidget*()>& content) {
    if (!window || !window->isVisible()) {
        window = new QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                          Qt::WindowSystemMenuHint | Qt::WindowMaximizeButtonHint |
                                          Qt::WindowCloseButtonHint);
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->setWindowTitle(title);
        setAccessibleRole(window, QAccessible::Window);
        auto* column = new QVBoxLayout(window);
        column->setContentsMargins(0, 0, 0, 0);
        column->addWidget(content());
        auto* close = new QShortcut(QKeySequence(Qt::Key_Escape), window);
        close->setKeys({QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_W)});
        QObject::connect(close, &QShortcut::activated, window, &QWidget::close);
        const QWidget* active = QApplication::activeWindow();
        const QScreen* screen = active ? active->screen() : QGuiApplication::primaryScreen();
        const QRect room = screen->availableGeometry();
        QRect frame(QPoint(), QSize(width, height).boundedTo(room.size()));
        frame.moveCenter(room.center());
        window->setGeometry(frame);
    }
    raiseWindow(window);
}

} // namespace morvik::MorvikHelpWindow
