#include "app/common/ErrorAlert.h"

#include "app/common/PlainAlert.h"
#include "ui/MorvikTheme.h"

#include <QApplication>
#include <QMainWindow>
#include <QMessageBox>

namespace kopertal {
namespace {

QWidget* mainWindow() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMainWindow*>(window) && window->isVisible())
            return window;
    }
    return nullptr;
}

void openAlert(const QString& message) {
    const auto title = QStringLiteral("Błąd");
    QMessageBox* alert =
        plainAlert(mainWindow(), title, message, QStringLiteral("exclamationmark.triangle.fill"),
                   morvik::MorvikTheme::Colors::error);
    alert->setWindowTitle(title);
    alert->setWindowModality(Qt::ApplicationModal);
    alert->show();
}

} // namespace

void showError(const QString& message) {
    QMetaObject::invokeMethod(
        qApp, [message] { openAlert(message); }, Qt::QueuedConnection);
}

} // namespace kopertal
