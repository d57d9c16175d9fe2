#include "scan/LocalAddress.h"

#include "tests/support/OwnBus.h"

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <arpa/inet.h>
#include <deque>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <unistd.h>

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

QString systemName() {
    char buffer[256] = {};
    gethostname(buffer, sizeof buffer - 1);
    return QString::fromUtf8(buffer).section(u'.', 0, 0) + QStringLiteral(".local");
}

/// A list of interfaces as the system would give it.
class Interfaces {
public:
    void add(unsigned int flags, const char* ipv4) {
        Entry& entry = m_entries.emplace_back();
        entry.interface.ifa_flags = flags;
        if (ipv4) {
            entry.address.sin_family = AF_INET;
            inet_pton(AF_INET, ipv4, &entry.address.sin_addr);
            entry.interface.ifa_addr = reinterpret_cast<sockaddr*>(&entry.address);
        }
        if (m_entries.size() > 1)
            m_entries[m_entries.size() - 2].interface.ifa_next = &entry.interface;
    }
    void addIpv6(unsigned int flags) {
        add(flags, "0.0.0.0");
        m_entries.back().address.sin_family = AF_INET6;
    }
    const ifaddrs* list() const { return m_entries.empty() ? nullptr : &m_entries[0].interface; }

private:
    struct Entry {
        ifaddrs interface {};
        sockaddr_in address{};
    };
    std::deque<Entry> m_entries;
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
        m_responder.name = QStringLiteral("biuro");
        QCOMPARE(pairingURL(QStringLiteral("https://example.org/zq/")),
                 QStringLiteral("https://example.org/zq/?h=biuro.local&p=8745"));
    }

    void doesNotWaitForWhoIsSilent() {
        const QByteArray bus = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        QLocalServer silent; // takes connections, and nothing more
        QVERIFY(silent.listen(m_folder.filePath(QStringLiteral("silent"))));
        m_responder.name = QStringLiteral("biuro");
        m_responder.delayMs = 1500;
        for (const QByteArray& address :
             {bus, "unix:path=" + silent.fullServerName().toLocal8Bit()}) {
            qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
            QElapsedTimer clock;
            clock.start();
            QCOMPARE(localHostname(), systemName());
            QVERIFY(clock.elapsed() < 1400);
        }
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus);
        m_responder.delayMs = 0;
        QTest::qWait(1000);
    }

    void worksWithoutAResponder() {
        QVERIFY(QDBusConnection(QStringLiteral("responder"))
                    .unregisterService(QStringLiteral("org.freedesktop.Avahi")));
        QCOMPARE(localHostname(), systemName());
    }

    void takesTheFirstUsableAddress() {
        Interfaces interfaces;
        QCOMPARE(firstUsableAddress(interfaces.list()), "127.0.0.1");
        interfaces.add(IFF_UP | IFF_LOOPBACK, "127.0.0.1");
        interfaces.add(0, "10.0.0.1");
        interfaces.add(IFF_UP, nullptr);
        interfaces.addIpv6(IFF_UP);
        QCOMPARE(firstUsableAddress(interfaces.list()), "127.0.0.1");
        interfaces.add(IFF_UP | IFF_RUNNING, "192.168.100.200");
        interfaces.add(IFF_UP, "10.0.0.2");
        QCOMPARE(firstUsableAddress(interfaces.list()), "192.168.100.200");
    }

private:
    QTemporaryDir m_folder;
    kopertal::testing::OwnBus m_bus;
    QThread m_thread;
    Responder m_responder;
};

QTEST_GUILESS_MAIN(LocalAddressTest)
#include "LocalAddressTest.moc"
