#include "ui/MorvikAppDelegate.h"

#include <QGuiApplication>

namespace morvik {

MorvikAppDelegate::MorvikAppDelegate(std::function<void(const QString&)> removeKey, QObject* parent)
    : QObject(parent) {
    QGuiApplication::setQuitOnLastWindowClosed(true);
    connect(qApp, &QCoreApplication::aboutToQuit, this, [remove = std::move(removeKey)] {
        for (const QString& key : cleanupKeys)
            remove(key);
    });
}

} // namespace morvik
