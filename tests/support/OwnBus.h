#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QTemporaryDir>

namespace kopertal::testing {

/// A message bus of the test's own, for as long as it exists.
class OwnBus {
public:
    ~OwnBus() { stop(); }

    /// Its address; empty when it does not come up.
    QString start() {
        m_daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address",
                                       "--address=unix:path=" + m_folder.filePath("bus")});
        m_daemon.waitForReadyRead();
        return QString::fromUtf8(m_daemon.readLine().trimmed());
    }

    /// The same, as the session's bus, with a connection for the stand-ins of its services.
    QDBusConnection startSession() {
        const QString address = start();
        if (address.isEmpty())
            qFatal("dbus-daemon does not come up");
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
        return QDBusConnection::connectToBus(address, "services");
    }

    void stop() {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
};

} // namespace kopertal::testing
