#pragma once

#include "scan/ReceivedPhoto.h"

#include <QObject>
#include <QString>

#include <memory>

namespace kopertal {

class ScanServer;

/// The server that a paired phone knows: on the paired port, from its start until this object goes.
class PairedServer : public QObject {
    Q_OBJECT

public:
    explicit PairedServer(QObject* parent = nullptr);
    ~PairedServer() override;

    bool isActive() const { return m_server != nullptr; }
    /// How the last start went, for the user; empty before its end.
    const QString& status() const { return m_status; }
    /// The same where the last start failed; empty otherwise.
    QString failure() const { return isActive() ? QString() : m_status; }

    /// Starts it in the background, unless it is active or starting. A start that fails may be
    /// tried again.
    void startIfNeeded();

Q_SIGNALS:
    /// A start has come to its end; status() tells how.
    void started();
    void photoReceived(const kopertal::ReceivedPhoto& photo);

private:
    std::shared_ptr<ScanServer> m_server;
    QString m_status;
    bool m_isStarting = false;
};

} // namespace kopertal
