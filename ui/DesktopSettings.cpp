#include "ui/DesktopSettings.h"

#include "ui/Fonts.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFileInfo>
#include <QObject>

#include <utility>

namespace morvik {
namespace {

constexpr int portalTimeout = 15'000; // milliseconds; it may have to be started first

const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
const auto object = QStringLiteral("/org/freedesktop/portal/desktop");
const auto interface = QStringLiteral("org.freedesktop.portal.Settings");
const auto group = QStringLiteral("org.gnome.desktop.interface"); // other desktops' portals have it
const auto motionKey = QStringLiteral("enable-animations");
const auto textKey = QStringLiteral("text-scaling-factor");

/// Where the toolkit would look; without an address it would try to start a bus itself.
bool hasSessionBus() {
    return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
           QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

/// The portal's answers are wrapped twice, its announcements once.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

class SettingsFollower : public QObject {
    Q_OBJECT

public:
    SettingsFollower(DesktopListener listener, QObject* owner)
        : QObject(owner), m_listener(std::move(listener)) {}

    void start() {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected())
            return;
        qRegisterMetaType<QDBusVariant>(); // else the slot's type is unknown to the connection
        bus.connect(service, object, interface, QStringLiteral("SettingChanged"), this,
                    SLOT(onChanged(QString, QString, QDBusVariant)));
        for (const QString& key : {motionKey, textKey})
            ask(bus, key);
    }

private Q_SLOTS:
    void onChanged(const QString& changedGroup, const QString& key, const QDBusVariant& value) {
        if (changedGroup == group)
            take(key, unwrapped(value.variant()));
    }

private:
    void ask(QDBusConnection& bus, const QString& key) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(service, object, interface, QStringLiteral("Read"));
        call << group << key;
        auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, portalTimeout), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, key] {
            watcher->deleteLater();
            const QDBusMessage answer = watcher->reply();
            if (!watcher->isError() && !answer.arguments().isEmpty())
                take(key, unwrapped(answer.arguments().constFirst()));
        });
    }

    void take(const QString& key, const QVariant& value) {
        if (key == motionKey && value.typeId() == QMetaType::Bool)
            m_listener.motion(value.toBool());
        const double factor = value.typeId() == QMetaType::Double ? value.toDouble() : 0;
        if (key == textKey && factor >= leastTextFactor && factor <= largestTextFactor)
            m_listener.textFactor(factor);
    }

    DesktopListener m_listener;
};

} // namespace

void followDesktopSettings(QObject* owner, DesktopListener listener) {
    if (hasSessionBus())
        (new SettingsFollower(std::move(listener), owner))->start();
}

} // namespace morvik

#include "DesktopSettings.moc"
