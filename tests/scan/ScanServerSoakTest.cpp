#include "scan/ScanServer.h"
#include "tests/support/RawClient.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <malloc.h>
#include <random>
#include <thread>

using namespace kopertal;

namespace {

struct Resources {
    qsizetype descriptors;
    int threads;
    int residentKiB;

    static Resources now() {
        malloc_trim(0);
        QFile file(QStringLiteral("/proc/self/status"));
        file.open(QIODevice::ReadOnly);
        const QByteArray status = file.readAll();
        const auto number = [&](const char* name) {
            const qsizetype start = status.indexOf(name) + static_cast<qsizetype>(strlen(name));
            return status.mid(start, status.indexOf('\n', start) - start)
                .replace("kB", "")
                .trimmed()
                .toInt();
        };
        const qsizetype descriptors =
            QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
        return {descriptors, number("Threads:"), number("VmRSS:")};
    }
};

std::string upload(std::size_t declared, std::size_t sent) {
    return "POST /upload HTTP/1.1\r\nContent-Length: " + std::to_string(declared) + "\r\n\r\n" +
           std::string(sent, 'x');
}

/// One request of a kind drawn by chance. True when the server owes its owner a photo for it.
bool makeRequest(std::uint16_t port, std::mt19937& random) {
    RawClient client(port);
    const std::size_t size = 1 + random() % 200'000;
    switch (random() % 12) {
    case 0: // aborted in the body
        client.send(upload(size + 1'000'000, size));
        client.reset();
        return false;
    case 1: // aborted in the header
        client.send("POST /upl");
        client.reset();
        return false;
    case 2: // never said anything
        return false;
    case 3: // does not wait for the answer
        client.send("GET / HTTP/1.1\r\n\r\n");
        return false;
    case 4: {
        std::string noise(1 + size % 70'000, '\0');
        for (char& c : noise)
            c = static_cast<char>(random());
        client.send(noise);
        break;
    }
    case 5:
        client.send(upload(52'428'801, size));
        break;
    case 6:
        client.send("PUT /upload HTTP/1.1\r\n\r\n");
        break;
    case 7:
        client.send("POST /upload HTTP/1.1\r\nContent-Length: -7\r\n\r\n");
        break;
    case 8: // ends early, and still counts
        client.send(upload(size + 1, size));
        client.finish();
        return !client.readAll().value_or("").empty();
    case 9:
        client.send("GET /pair HTTP/1.1\r\n\r\n");
        break;
    default:
        client.send(upload(size, size));
        return !client.readAll().value_or("").empty();
    }
    client.finish();
    client.readAll();
    return false;
}

} // namespace

class ScanServerSoakTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void endsAsItBegan() {
        ServerLimits limits;
        limits.discard = std::chrono::milliseconds(500);
        ScanServer server(limits);
        int received = 0;
        server.onPhotoReceived([&](const ReceivedPhoto&) { ++received; });
        server.start();
        const auto makeRequests = [&](int count) {
            int owed = 0;
            std::thread client([&, random = std::mt19937(1)]() mutable {
                for (int i = 0; i < count; ++i)
                    owed += makeRequest(server.port(), random) ? 1 : 0;
                QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                          Qt::QueuedConnection);
            });
            QCoreApplication::exec();
            client.join();
            QTest::qWait(1000); // for the last discarding connections
            return owed;
        };

        const int owedBefore = makeRequests(500); // fills caches
        const Resources before = Resources::now();
        const int owed = owedBefore + makeRequests(10'000);
        const Resources after = Resources::now();
        QCOMPARE(received, owed);
        QVERIFY(received > 2000);
        QCOMPARE(after.descriptors, before.descriptors);
        QCOMPARE(after.threads, before.threads);
        qInfo("resident before %d KiB, after %d KiB", before.residentKiB, after.residentKiB);
#ifndef __SANITIZE_ADDRESS__ // which keeps freed memory for a while
        QVERIFY(after.residentKiB < before.residentKiB + 2048);
#endif
    }
};

QTEST_GUILESS_MAIN(ScanServerSoakTest)
#include "ScanServerSoakTest.moc"
