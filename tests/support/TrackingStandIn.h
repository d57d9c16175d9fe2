#pragma once

#include <QJsonObject>
#include <QProcess>

namespace kopertal {

/// A running tests/support/tracking_service.py; it ends with this object.
class TrackingStandIn {
public:
    /// Waits until it listens.
    TrackingStandIn();
    ~TrackingStandIn();

    bool isReady() const { return !m_ready.isEmpty(); }

    /// The base address of a listener ("http", "https", "http2", "expired", …), and a path below
    /// it.
    QString address(const QString& listener, const QString& path = {}) const;
    /// The PEM file of the authority that the good certificates are from.
    QString authority() const { return address("authority"); }

    /// The bytes of the last request over HTTP/1.1.
    QByteArray recorded() const { return get("recorded"); }
    /// The number of connections accepted so far.
    int connections() const;

private:
    QByteArray get(const QString& name) const;

    QProcess m_process;
    QJsonObject m_ready;
};

} // namespace kopertal
