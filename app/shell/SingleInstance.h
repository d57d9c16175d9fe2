#pragma once

#include "app/settings/FileLock.h"
#include "net/Descriptor.h"

#include <QObject>

#include <memory>

namespace kopertal {

/// What a second start tells the first.
struct StartMessage {
    QString file;            ///< An absolute path of a file of addresses, or empty.
    QString activationToken; ///< The desktop's leave to come to the front, or empty.
};

/// Sees to it that a user has one window. Nothing stored is touched before claim().
///
/// Starts meet at a socket of the kernel's own kind, which keeps messages apart: the toolkit's
/// local sockets would bring its whole network library into the window.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    /// `folder` is the user's own, one for each machine.
    explicit SingleInstance(const QString& folder, QObject* parent = nullptr);

    /// Whether this process is the user's only one; from then on it hears the others.
    bool claim();

    /// Tells the process that has claimed; waits a few seconds at most. False when it does not
    /// answer.
    bool handOver(const StartMessage& message) const;

    /// Lets the next start be the first one.
    void release();

Q_SIGNALS:
    void started(const kopertal::StartMessage& message);

private:
    void listen();
    void welcome();
    void receive(int connection);

    QByteArray m_socketPath;
    QString m_lockPath;
    FileLock m_lock;
    std::unique_ptr<Descriptor> m_server; // while it listens
};

} // namespace kopertal
