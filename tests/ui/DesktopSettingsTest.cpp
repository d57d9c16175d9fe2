#include "ui/DesktopSettings.h"

#include "tests/support/OwnBus.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QTest>

#include <memory>

using namespace morvik;

namespace {

const QString portalPath = "/org/freedesktop/portal/desktop";
const QString group = "org.gnome.desktop.interface";
const QString motionKey = "enable-animations";
const QString textKey = "text-scaling-factor";

} // namespace

/// The settings portal, which wraps its answers twice, as the real one does. In the test's own
/// thread: who waited for it would wait in vain.
class SettingsPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public Q_SLOTS:
    QDBusVariant Read(const QString& asked, const QString& key) {
        if (asked == group && key == textKey)
            return QDBusVariant(QVariant::fromValue(QDBusVariant(1.25)));
        sendErrorReply("org.freedesktop.portal.Error.NotFound", "Requested setting not found");
        return QDBusVariant(false);
    }
};

/// Against a stand-in of the portal on a bus of the test's own.
class DesktopSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void followsTheDesktopWhileTheOwnerLives() {
        kopertal::testing::OwnBus bus;
        QDBusConnection services = bus.startSession();
        SettingsPortal portal;
        QVERIFY(services.registerObject(portalPath, &portal, QDBusConnection::ExportAllSlots));
        QVERIFY(services.registerService("org.freedesktop.portal.Desktop"));
        const auto announce = [&](const QString& in, const QString& key, const QVariant& value) {
            QDBusMessage signal = QDBusMessage::createSignal(
                portalPath, "org.freedesktop.portal.Settings", "SettingChanged");
            signal << in << key << QVariant::fromValue(QDBusVariant(value));
            services.send(signal);
        };

        auto owner = std::make_unique<QObject>();
        QVariantList heard;
        QElapsedTimer timer;
        timer.start();
        followDesktopSettings(owner.get(), {[&](bool isWanted) { heard << isWanted; },
                                            [&](double factor) { heard << factor; }});
        QVERIFY2(timer.elapsed() < 1000, "the window would stand still");
        QTRY_COMPARE(heard, QVariantList{1.25});
        announce(group, motionKey, false);
        announce("another", motionKey, true);
        announce(group, motionKey, 0); // of another kind
        for (const QVariant& unusable : QVariantList{"1.25", qQNaN(), 1e9, -1.0})
            announce(group, textKey, unusable);
        announce(group, textKey, 1.5);
        QTRY_COMPARE(heard.size(), 3);
        QCOMPARE(heard, (QVariantList{1.25, false, 1.5}));
        owner.reset();
        announce(group, textKey, 2.0);
        QTest::qWait(100);
        QCOMPARE(heard.size(), 3);
    }
};

QTEST_MAIN(DesktopSettingsTest)
#include "DesktopSettingsTest.moc"
