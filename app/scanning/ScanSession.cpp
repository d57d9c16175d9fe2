#include "app/scanning/ScanSession.h"

#include "net/Deliver.h"
#include "scan/LocalAddress.h"
#include "scan/PhotoRecognizer.h"

namespace kopertal {
namespace {

using namespace std::chrono_literals;

constexpr auto usualPatience = 30s;
constexpr auto visitCheckInterval = 1s;
/// The phone's page gives up on an upload after 10 s: one begun before stop() has ended by then.
constexpr auto lingering = 12s;

} // namespace

ScanSession::ScanSession(PhotoRecognizer& recognizer, QObject* parent)
    : QObject(parent), m_recognizer(&recognizer), m_patience(usualPatience) {
    connect(&m_visitCheck, &QTimer::timeout, this, &ScanSession::checkVisit);
    m_linger.setSingleShot(true);
    connect(&m_linger, &QTimer::timeout, this, &ScanSession::endIfIdle);
}

ScanSession::~ScanSession() {
    m_start.cancel();
}

void ScanSession::start() {
    const QPointer<ScanSession> self(this);
    m_start = startScanServer({}, [self](const ReceivedPhoto& photo) {
        if (self)
            self->recognize(photo);
    });
    deliver(m_start, this, [this](const StartedServer& started) { serve(started); });
}

void ScanSession::serve(const StartedServer& started) {
    if (!started.server) {
        Q_EMIT failed(started.error);
        return;
    }
    m_server = started.server;
    m_start = {};
    m_visitCheck.start(m_patience);
    Q_EMIT ready(QStringLiteral("http://%1:%2").arg(localIPAddress()).arg(m_server->port()));
}

void ScanSession::stop() {
    if (m_isStopped)
        return;
    m_isStopped = true;
    m_start.cancel();
    m_visitCheck.stop();
    if (m_server)
        m_server->stop();
    m_linger.start(lingering);
}

void ScanSession::recognize(const ReceivedPhoto& photo) {
    Q_EMIT photoReceived();
    if (!m_recognizer) {
        Q_EMIT recognised({});
        return;
    }
    ++m_recognising;
    deliver(m_recognizer->recognize(photoBytes(photo)), this, [this](const PhotoResult& result) {
        --m_recognising;
        Q_EMIT recognised(result);
        endIfIdle();
    });
}

void ScanSession::checkVisit() {
    if (m_server->wasVisited()) {
        m_visitCheck.stop();
        if (m_isPhoneMissing)
            Q_EMIT phoneConnected();
    } else if (!m_isPhoneMissing) {
        m_isPhoneMissing = true;
        m_visitCheck.start(visitCheckInterval);
        Q_EMIT phoneMissing();
    }
}

void ScanSession::endIfIdle() {
    if (m_isStopped && m_recognising == 0 && !m_linger.isActive())
        Q_EMIT ended();
}

} // namespace kopertal
