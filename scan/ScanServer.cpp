#include "scan/ScanServer.h"

#include "scan/ConnectionLoop.h"
#include "scan/PhonePages.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QMetaObject>

#include <string>
#include <thread>
#include <utility>

namespace kopertal {
namespace {

Q_LOGGING_CATEGORY(serverLog, "kopertal.server", QtWarningMsg)

/// After it the port can be read, and a listener that fails has failed.
constexpr std::chrono::milliseconds settleTime{150};

} // namespace

/// Whom photos go to, for as long as the server lives. Set before any thread knows it.
struct ScanServer::Receiver {
    PhotoCallback callback;
};

ScanServerError::ScanServerError(std::uint16_t refusedPort)
    : std::runtime_error("Invalid port: " + std::to_string(refusedPort)) {
}

ScanServer::ScanServer(const ServerLimits& limits)
    : m_limits(limits), m_receiver(std::make_shared<Receiver>()) {
}

ScanServer::~ScanServer() = default;

void ScanServer::onPhotoReceived(PhotoCallback callback) {
    m_receiver->callback = std::move(callback);
}

void ScanServer::start(std::optional<std::uint16_t> fixedPort) {
    if (fixedPort == 0)
        throw ScanServerError(*fixedPort);
    if (!m_loop) {
        const auto handOver = [weak = std::weak_ptr(m_receiver)](ReceivedPhoto photo) {
            qCInfo(serverLog, "odebrano zdjęcie: bajtów %zu", photo.whole().size());
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [weak, photo = std::move(photo)] {
                    const std::shared_ptr<Receiver> receiver = weak.lock();
                    if (receiver && receiver->callback)
                        receiver->callback(photo);
                },
                Qt::QueuedConnection);
        };
        m_loop = std::make_unique<ConnectionLoop>(phonePages(), m_limits, handOver);
    }
    if (const std::optional<std::uint16_t> port = m_loop->listen(fixedPort.value_or(0)))
        m_port = *port;
    if (m_port > 0)
        qCInfo(serverLog, "serwer działa na porcie %d", static_cast<int>(m_port));
    else
        qCInfo(serverLog, "nie można otworzyć portu");
    std::this_thread::sleep_for(settleTime);
}

void ScanServer::stop() {
    if (m_loop)
        m_loop->stopListening();
}

bool ScanServer::wasVisited() const {
    return m_loop && m_loop->wasVisited();
}

} // namespace kopertal
