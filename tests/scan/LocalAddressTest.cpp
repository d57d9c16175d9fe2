#include "scan/LocalAddress.h"

#include "tests/support/OwnBus.h"

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <arpa/inet.h>
#include <array>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

using namespace kopertal;

namespace {

/// Answers like the multicast DNS responder, with the name that a test has set.
class Responder : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Avahi.Server")

public:
    QString name;
    unsigned long delayMs = 0;

public Q_SLOTS:
    QString GetHostName() const {
        QThread::msleep(delayMs);
        return name;
    }
};

} // namespace

class LocalAddressTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// A bus of the test's own in the system bus's place.
    void initTestCase() {
        const QString address = m_bus.start();
        QVERIFY(!address.isEmpty());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());

        QDBusConnection bus = QDBusConnection::connectToBus(address, QStringLiteral("responder"));
        QVERIFY(bus.registerService(QStringLiteral("org.freedesktop.Avahi")));
        QVERIFY(
            bus.registerObject(QStringLiteral("/"), &m_responder, QDBusConnection::ExportAllSlots));
        m_responder.moveToThread(&m_thread);
        m_thread.start();
    }

    void cleanupTestCase() {
        m_thread.quit();
        m_thread.wait();
        m_bus.stop();
    }

    void takesTheAnnouncedName() {
        const std::pair<QString, QString> cases[] = {{"biuro-2", "biuro-2.local"},
                                                     {" biuro\n", "biuro.local"},
                                                     {"", ".local"},
                                                     {"łódź", "łódź.local"}};
        for (const auto& [name, expected] : cases) {
            m_responder.name = name;
            QCOMPARE(localHostname(), expected);
        }
        QCOMPARE(pairingURL("https://example.org/zq/", "biuro.local"),
                 "https://example.org/zq/?h=biuro.local&p=8745");
    }

    void takesTheSystemsNameWithoutAnAnswer() {
        const QString systemName = QSysInfo::machineHostName().section(u'.', 0, 0) + ".local";
        const QByteArray bus = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        QLocalServer silent; // takes connections, and nothing more
        QVERIFY(silent.listen(m_folder.filePath("silent")));
        kopertal::testing::OwnBus empty; // has no responder
        m_responder.delayMs = 1500;
        for (const QByteArray& address : {bus, "unix:path=" + silent.fullServerName().toLocal8Bit(),
                                          empty.start().toLocal8Bit()}) {
            qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
            QElapsedTimer clock;
            clock.start();
            QCOMPARE(localHostname(), systemName);
            QVERIFY(clock.elapsed() < 1400);
        }
    }

    void takesTheFirstUsableAddress() {
        const struct {
            unsigned int flags;
            sa_family_t family; // 0: no address
            const char* ipv4;
            const char* expected; // of all up to this one
        } interfaces[] = {{IFF_UP | IFF_LOOPBACK, AF_INET, "127.0.0.2", "127.0.0.1"},
                          {0, AF_INET, "10.0.0.1", "127.0.0.1"},
                          {IFF_UP, 0, "10.0.0.2", "127.0.0.1"},
                          {IFF_UP, AF_INET6, "10.0.0.3", "127.0.0.1"},
                          {IFF_UP | IFF_RUNNING, AF_INET, "192.168.100.200", "192.168.100.200"},
                          {IFF_UP, AF_INET, "10.0.0.4", "192.168.100.200"}};
        QCOMPARE(firstUsableAddress(nullptr), "127.0.0.1");
        std::array<sockaddr_in, std::size(interfaces)> addresses{};
        std::array<ifaddrs, std::size(interfaces)> list{};
        for (size_t i = 0; i < list.size(); ++i) {
            addresses[i] = {interfaces[i].family, 0, {inet_addr(interfaces[i].ipv4)}, {}};
            list[i].ifa_flags = interfaces[i].flags;
            if (interfaces[i].family != 0)
                list[i].ifa_addr = reinterpret_cast<sockaddr*>(&addresses[i]);
            if (i > 0)
                list[i - 1].ifa_next = &list[i];
            QCOMPARE(firstUsableAddress(list.data()), interfaces[i].expected);
        }
    }

private:
    QTemporaryDir m_folder;
    kopertal::testing::OwnBus m_bus;
    QThread m_thread;
    Responder m_responder;
};

QTEST_GUILESS_MAIN(LocalAddressTest)
#include "LocalAddressTest.moc"
