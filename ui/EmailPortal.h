#pragma once

#include <QObject>
#include <QStringList>

#include <functional>

namespace morvik {

/// One new message that the desktop's e-mail portal (org.freedesktop.portal.Email) is asked for. It
/// deletes itself when the portal has answered.
class EmailPortalRequest : public QObject {
    Q_OBJECT

public:
    /// `onFailure` runs at most once, on the main thread: when there is no portal, it cannot take
    /// the files or finds no mail program.
    EmailPortalRequest(std::function<void()> onFailure, QObject* parent);

    /// Hands the files at `paths` over, opened for reading.
    void send(const QStringList& paths);

private Q_SLOTS:
    void onResponse(uint code, const QVariantMap& results);

private:
    void fail();

    std::function<void()> m_onFailure;
};

} // namespace morvik
