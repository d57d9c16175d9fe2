#include "ui/DesktopSettings.h"

#include "tests/support/OwnBus.h"
#include "ui/Motion.h"
#include "ui/Spinner.h"

#include <QApplication>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QImage>
#include <QTest>

#include <memory>

using namespace morvik;

namespace {

const auto portalName = QStringLiteral("org.freedesktop.portal.Desktop");
const auto portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto portalInterface = QStringLiteral("org.freedesktop.portal.Settings");
const auto group = QStringLiteral("org.gnome.desktop.interface");
const auto motionKey = QStringLiteral("enable-animations");
const auto textKey = QStringLiteral("text-scaling-factor");

} // namespace

/// The settings portal, which wraps its answers twice, as the real one does.
class SettingsPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    QVariantMap values;
    int reads = 0;

public Q_SLOTS:
    QDBusVariant Read(const QString& asked, const QString& key) {
        ++reads;
        if (asked == group && values.contains(key))
            return QDBusVariant(QVariant::fromValue(QDBusVariant(values[key])));
        sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                       QStringLiteral("Requested setting not found"));
        return QDBusVariant(false);
    }
};

/// Against a stand-in of the portal on a bus of the test's own.
class DesktopSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        m_services = std::make_unique<QDBusConnection>(m_bus.startSession());
        QVERIFY(m_services->registerObject(portalPath, &m_portal, QDBusConnection::ExportAllSlots));
    }

    void init() {
        m_portal.values.clear();
        m_portal.reads = 0;
        m_motion.clear();
        m_factors.clear();
        m_owner = std::make_unique<QObject>();
        QVERIFY(m_services->registerService(portalName));
    }

    void cleanup() { setMotionWanted(true); }

    void cleanupTestCase() { m_bus.stop(); }

    void takesTheValuesOfNow() {
        const struct {
            QVariantMap values;
            QVariantList motion, factors;
        } cases[] = {{{{motionKey, false}, {textKey, 1.25}}, {false}, {1.25}},
                     {{}, {}, {}},
                     {{{motionKey, 0}, {textKey, "1.25"}}, {}, {}}, // of other kinds
                     {{{motionKey, true}, {textKey, qQNaN()}}, {true}, {}},
                     {{{textKey, 1e9}}, {}, {}},
                     {{{textKey, -1.0}}, {}, {}}};
        for (const auto& [values, motion, factors] : cases) {
            init();
            m_portal.values = values;
            follow();
            QTRY_COMPARE(m_portal.reads, 2);
            QTest::qWait(100);
            QCOMPARE(m_motion, motion);
            QCOMPARE(m_factors, factors);
        }
    }

    void followsChangesWhileItsOwnerLives() {
        follow();
        QTRY_COMPARE(m_portal.reads, 2);
        announce(group, motionKey, false);
        announce(QStringLiteral("another"), motionKey, true);
        announce(group, textKey, 1.5);
        QTRY_COMPARE(m_factors, QVariantList{1.5});
        QCOMPARE(m_motion, QVariantList{false});
        m_owner.reset();
        announce(group, textKey, 2.0);
        QTest::qWait(100);
        QCOMPARE(m_factors.size(), 1);
    }

    void aPortalThatIsMissingIsNotWaitedFor() {
        QVERIFY(m_services->unregisterService(portalName));
        QElapsedTimer timer;
        timer.start();
        follow();
        QVERIFY2(timer.elapsed() < 1000, "the window would stand still");
        QTest::qWait(100);
        QVERIFY(m_motion.isEmpty());
    }

    void nothingMovesWhereThatIsNotWanted() {
        Spinner spinner(32, Qt::black);
        spinner.show();
        QVERIFY(QTest::qWaitForWindowExposed(&spinner));
        const auto moves = [&] {
            const QImage before = spinner.grab().toImage();
            return QTest::qWaitFor([&] { return spinner.grab().toImage() != before; }, 400);
        };
        QVERIFY(moves());
        QApplication::setEffectEnabled(Qt::UI_AnimateMenu, true);
        setMotionWanted(false);
        QVERIFY(!moves());
        QVERIFY(!QApplication::isEffectEnabled(Qt::UI_AnimateMenu));
        spinner.hide();
        spinner.show();
        QVERIFY(!moves());
    }

private:
    void follow() {
        followDesktopSettings(m_owner.get(), {[this](bool isWanted) { m_motion << isWanted; },
                                              [this](double factor) { m_factors << factor; }});
    }

    void announce(const QString& changedGroup, const QString& key, const QVariant& value) {
        QDBusMessage signal = QDBusMessage::createSignal(portalPath, portalInterface,
                                                         QStringLiteral("SettingChanged"));
        signal << changedGroup << key << QVariant::fromValue(QDBusVariant(value));
        m_services->send(signal);
    }

    kopertal::testing::OwnBus m_bus;
    std::unique_ptr<QDBusConnection> m_services;
    SettingsPortal m_portal;
    std::unique_ptr<QObject> m_owner;
    QVariantList m_motion;
    QVariantList m_factors;
};

QTEST_MAIN(DesktopSettingsTest)
#include "DesktopSettingsTest.moc"
