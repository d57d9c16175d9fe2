#pragma once

#include <QDesktopServices>
#include <QList>
#include <QObject>
#include <QUrl>

namespace kopertal::testing {

/// While it lives, web and mail addresses are kept as they are handed over instead of opened.
class OpenedAddresses : public QObject {
    Q_OBJECT

public:
    OpenedAddresses() {
        for (const char* scheme : {"http", "https", "mailto"})
            QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), this, "keep");
    }
    ~OpenedAddresses() override {
        for (const char* scheme : {"http", "https", "mailto"})
            QDesktopServices::unsetUrlHandler(QString::fromLatin1(scheme));
    }

    const QList<QByteArray>& list() const { return m_addresses; }

public Q_SLOTS:
    void keep(const QUrl& url) { m_addresses << url.toEncoded(); }

private:
    QList<QByteArray> m_addresses;
};

} // namespace kopertal::testing
