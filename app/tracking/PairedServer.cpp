#include "app/tracking/PairedServer.h"

#include "app/scanning/ServerStart.h"
#include "net/Deliver.h"
#include "scan/LocalAddress.h"

#include <QPointer>

namespace kopertal {

PairedServer::PairedServer(QObject* parent) : QObject(parent) {
}

PairedServer::~PairedServer() = default;

void PairedServer::startIfNeeded() {
    if (m_server || m_isStarting)
        return;
    m_isStarting = true;
    const auto handOver = [self = QPointer(this)](const ReceivedPhoto& photo) {
        if (self)
            Q_EMIT self->photoReceived(photo);
    };
    deliver(startScanServer(pairedPort, handOver), this, [this](const StartedServer& start) {
        m_isStarting = false;
        m_server = start.server;
        m_status = m_server ? QStringLiteral("Serwer aktywny")
                            : QStringLiteral("Błąd serwera: ") + start.error;
        Q_EMIT started();
    });
}

} // namespace kopertal
