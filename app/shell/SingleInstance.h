#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QObject>

#include <memory>

namespace kopertal {

/// What a second start tells the first.
struct StartMessage {
    QString file;            ///< An absolute path of a file of addresses, or empty.
    QString activationToken; ///< The desktop's leave to come to the front, or empty.
};

/// Sees to it that a user has one window. Nothing stored is touched before claim().
class SingleInstance : public QObject {
    Q_OBJECT

public:
    /// `folder` is the user's own, one for each machine.
    explicit SingleInstance(const QString& folder, QObject* parent = nullptr);
    ~SingleInstance() override;

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
    void receive(QLocalSocket* socket);

    QString m_socketPath;
    QLockFile m_lock;
    QLocalServer m_server;
};

} // namespace kopertal
