#include "app/tracking/PairedServer.h"

#include "net/Deliver.h"
#include "scan/LocalAddress.h"
#include "scan/ScanServer.h"

#include <QPointer>
#include <QtConcurrentRun>

#include <exception>

namespace kopertal {
namespace {

/// What went wrong; empty when the server listens. A port whose last owner is just letting it go is
/// waited for. Takes part of a second, on any thread.
QString start(ScanServer& server) {
    constexpr int tries = 3;
    try {
        for (int attempt = 0; attempt < tries && server.port() == 0; ++attempt)
            server.start(pairedPort);
    } catch (const std::exception& error) {
        return QString::fromLocal8Bit(error.what());
    }
    return server.port() != 0
               ? QString()
               : QStringLiteral("port %1 jest zajęty przez inny program").arg(pairedPort);
}

} // namespace

PairedServer::PairedServer(QObject* parent) : QObject(parent) {
}

PairedServer::~PairedServer() = default;

void PairedServer::startIfNeeded() {
    if (m_server || m_isStarting)
        return;
    m_isStarting = true;
    const auto server = std::make_shared<ScanServer>();
    server->onPhotoReceived([self = QPointer(this)](const ReceivedPhoto& photo) {
        if (self)
            Q_EMIT self->photoReceived(photo);
    });
    deliver(QtConcurrent::run([server] { return start(*server); }), this,
            [this, server](const QString& failure) {
                m_isStarting = false;
                m_status = failure.isEmpty() ? QStringLiteral("Serwer aktywny")
                                             : QStringLiteral("Błąd serwera: ") + failure;
                if (failure.isEmpty())
                    m_server = server;
                Q_EMIT started();
            });
}

} // namespace kopertal
