#include "app/shell/ErrorAlert.h"

#include "ui/Icons.h"
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
    constexpr int iconSize = 40;
    const QString title = QStringLiteral("Błąd");
    auto* alert = new QMessageBox(mainWindow());
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setWindowTitle(title);
    alert->setTextFormat(Qt::PlainText);
    alert->setText(title);
    alert->setInformativeText(message);
    alert->setIcon(QMessageBox::Critical);
    alert->setIconPixmap(morvik::iconPixmap(QStringLiteral("exclamationmark.triangle.fill"),
                                            iconSize, morvik::MorvikTheme::Colors::error,
                                            alert->devicePixelRatioF()));
    alert->setStandardButtons(QMessageBox::Ok);
    alert->setWindowModality(Qt::ApplicationModal);
    alert->show();
}

} // namespace

void showError(const QString& message) {
    QMetaObject::invokeMethod(
        qApp, [message] { openAlert(message); }, Qt::QueuedConnection);
}

} // namespace kopertal
