#include "ui/EmailPortal.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusUnixFileDescriptor>
#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace morvik {
namespace {

/// For a portal that has to be started first, and starts its parts.
constexpr int portalTimeout = 15'000; // milliseconds
constexpr uint otherFailure = 2;      // of the portal's responses; 0 is done, 1 is cancelled

/// The reference bus's own bound of a message; beyond it, it ends the program's connection.
constexpr qsizetype maxFiles = 16;

const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
const auto object = QStringLiteral("/org/freedesktop/portal/desktop");

/// Invalid when it cannot be opened or is no regular file, which is all that a portal takes.
QDBusUnixFileDescriptor openFile(const QString& path) {
    QDBusUnixFileDescriptor descriptor;
    const int file =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status = {};
    if (file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode))
        descriptor.giveFileDescriptor(file);
    else if (file >= 0)
        close(file);
    return descriptor;
}

} // namespace

EmailPortalRequest::EmailPortalRequest(std::function<void()> onFailure, QObject* parent)
    : QObject(parent), m_onFailure(std::move(onFailure)) {
}

void EmailPortalRequest::send(const QStringList& paths) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (paths.size() > maxFiles || !bus.isConnected() ||
        !(bus.connectionCapabilities() & QDBusConnection::UnixFileDescriptorPassing)) {
        fail();
        return;
    }
    QList<QDBusUnixFileDescriptor> files;
    for (const QString& path : paths)
        files << openFile(path);
    const bool isOpen =
        std::all_of(files.begin(), files.end(), [](const auto& file) { return file.isValid(); });
    if (!isOpen) {
        fail();
        return;
    }
    // The response comes from an object whose path follows from the caller and the token, so that
    // it is listened to before it can come.
    const QString token =
        QStringLiteral("morvik%1").arg(QRandomGenerator::global()->generate64(), 0, 16);
    const QString caller = bus.baseService().mid(1).replace(u'.', u'_');
    bus.connect(service, object + QStringLiteral("/request/%1/%2").arg(caller, token),
                QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"), this,
                SLOT(onResponse(uint, QVariantMap)));
    qDBusRegisterMetaType<QList<QDBusUnixFileDescriptor>>();
    QDBusMessage call = QDBusMessage::createMethodCall(
        service, object, QStringLiteral("org.freedesktop.portal.Email"),
        QStringLiteral("ComposeEmail"));
    const QString noParentWindow;
    call << noParentWindow
         << QVariantMap{{QStringLiteral("handle_token"), token},
                        {QStringLiteral("attachment_fds"), QVariant::fromValue(files)}};
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, portalTimeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        if (watcher->isError())
            fail();
    });
}

void EmailPortalRequest::onResponse(uint code, const QVariantMap&) {
    if (code >= otherFailure)
        fail();
    else
        deleteLater();
}

void EmailPortalRequest::fail() {
    deleteLater();
    if (const auto onFailure = std::exchange(m_onFailure, nullptr))
        onFailure();
}

} // namespace morvik
