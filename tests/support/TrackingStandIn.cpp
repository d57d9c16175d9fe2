#include "tests/support/TrackingStandIn.h"

#include <QJsonDocument>

namespace kopertal {

TrackingStandIn::TrackingStandIn() {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(KOPERTAL_SOURCE_DIR "/tests/support/tracking_service.py", QStringList());
    while (!m_process.canReadLine() && m_process.waitForReadyRead(30'000)) {
    }
    m_ready = QJsonDocument::fromJson(m_process.readLine()).object();
}

TrackingStandIn::~TrackingStandIn() {
    m_process.closeWriteChannel();
    m_process.waitForFinished(5'000); // else it is killed
}

QString TrackingStandIn::address(const QString& listener, const QString& path) const {
    return m_ready[listener].toString() + path;
}

int TrackingStandIn::connections() const {
    return QJsonDocument::fromJson(get("statistics"))["connections"].toInt();
}

/// By a client that is none of ours.
QByteArray TrackingStandIn::get(const QString& name) const {
    QProcess curl;
    curl.start("curl", {"-s", "--noproxy", "*", address("http", name)});
    curl.waitForFinished();
    return curl.readAllStandardOutput();
}

} // namespace kopertal
