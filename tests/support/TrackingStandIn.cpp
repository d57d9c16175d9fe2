#include "tests/support/TrackingStandIn.h"

#include <QJsonDocument>

namespace kopertal {

TrackingStandIn::TrackingStandIn() {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral(KOPERTAL_SOURCE_DIR "/tests/support/tracking_service.py"),
                    QStringList());
    while (!m_process.canReadLine() && m_process.waitForReadyRead(30'000)) {
    }
    m_ready = QJsonDocument::fromJson(m_process.readLine()).object();
}

TrackingStandIn::~TrackingStandIn() {
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(5'000))
        m_process.kill();
}

QString TrackingStandIn::address(const QString& listener, const QString& path) const {
    return m_ready.value(listener).toString() + path;
}

QString TrackingStandIn::authority() const {
    return m_ready.value(QStringLiteral("authority")).toString();
}

QByteArray TrackingStandIn::recorded() const {
    return get(QStringLiteral("recorded"));
}

QJsonObject TrackingStandIn::statistics() const {
    return QJsonDocument::fromJson(get(QStringLiteral("statistics"))).object();
}

/// By a client that is none of ours.
QByteArray TrackingStandIn::get(const QString& name) const {
    QProcess curl;
    curl.start(QStringLiteral("curl"),
               {QStringLiteral("-s"), QStringLiteral("--noproxy"), QStringLiteral("*"),
                address(QStringLiteral("http"), name)});
    curl.waitForFinished();
    return curl.readAllStandardOutput();
}

} // namespace kopertal
