#include "scan/PhonePages.h"
#include "tests/scan/RandomRequest.h"
#include "tests/scan/RunningServer.h"

#include <QDir>
#include <QProcess>
#include <QTcpSocket>

using namespace kopertal;
using namespace kopertal::test;
using namespace std::chrono_literals;
using namespace std::string_literals;

namespace {

/// How many descriptors and threads the process has.
QList<uint> inUse() {
    QList<uint> counts;
    for (const char* folder : {"/proc/self/fd", "/proc/self/task"})
        counts << QDir(folder, {}, QDir::NoSort, QDir::AllEntries | QDir::System).count();
    return counts;
}

} // namespace

class ScanServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listensWhereItIsTold() {
        ScanServer server;
        server.start();
        const std::uint16_t first = server.port();
        QCOMPARE(RawClient::ask(first, ping), probe);
        server.start(); // on another port
        QVERIFY(!RawClient(first).isOpen());
        ScanServer second;
        second.start(server.port()); // busy
        QCOMPARE(second.port(), std::uint16_t(0));
        server.stop();
        second.start(server.port());
        QCOMPARE(RawClient::ask(server.port(), ping), probe);
        QVERIFY_THROWS_EXCEPTION(ScanServerError, second.start(0));
        QTcpSocket sixth;
        sixth.connectToHost(QHostAddress::LocalHostIPv6, server.port());
        QVERIFY(sixth.waitForConnected() || // or this computer has none
                sixth.error() != QTcpSocket::ConnectionRefusedError);
    }

    void answersRequests() {
        const std::pair<std::string, std::string> cases[] = {
            {"GET / HTTP/1.1\r\nHost: x\r\n\r\n", answerBytes(Answer::scanPage, phonePages())},
            {"GET /ping HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc", probe},
            {"GET /\xC0 HTTP/1.1\r\n\r\n", ""},
            {"GET /ping HTTP/1.1\r\n", ""},
            {"GET /" + std::string(70'000, 'a') + "\r\n\r\n", ""}};
        for (const auto& [request, answer] : cases) {
            RunningServer s;
            RawClient open(s.port);
            open.send(request);
            QCOMPARE(open.readAll(3s).value_or("still open"), answer);
            QCOMPARE(RawClient::ask(s.port, request), answer); // after a half-close
        }
    }

    void takesPhotosUpToTheLargest() {
        RunningServer s;
        const std::string largest = std::string(maxUploadBytes - 3, 'x') + "end";
        const std::pair<std::string, std::string> cases[] = {
            {uploadHead(9) + "abc", accepted}, // and its end
            {uploadHead(9), accepted},
            {uploadHead(3) + "abcdef", accepted},
            {upload(largest), accepted},
            {upload(largest + 'x'), tooLarge}}; // read and thrown away
        for (const auto& [request, answer] : cases)
            QCOMPARE(RawClient::ask(s.port, request), answer);
        QVERIFY(s.waitForPhotos(4));
        QVERIFY((s.photos == std::vector{"abc"s, ""s, "abc"s, largest}));
    }

    void stopLeavesAcceptedConnectionsAlone() {
        RunningServer s;
        RawClient client = s.begin(uploadHead(4) + "ab");
        s.server->stop();
        QVERIFY(!RawClient(s.port).isOpen());
        client.send("cd");
        QCOMPARE(client.readAll().value_or(""), accepted);
        QVERIFY(s.waitForPhotos(1));
        QCOMPARE(s.photos[0], "abcd"s);
    }

    void nothingOutlivesADroppedServer() {
        RunningServer s;
        RawClient unfinished = s.begin(uploadHead(4) + "ab");
        RawClient finished(s.port);
        finished.send(upload("ab"));
        QCOMPARE(finished.readAll().value_or(""), accepted); // handed over, not yet received
        QProcess child;                                      // inherits no connection
        child.start("sleep", {"600"});
        QVERIFY(child.waitForStarted());
        s.server.reset();
        QCOMPARE(unfinished.readAll(5s), std::optional(""s));
        QVERIFY(!RawClient(s.port).isOpen());
        QTest::qWait(100);
        QVERIFY(s.photos.empty());
        QCOMPARE(child.state(), QProcess::Running);
        child.kill();
        QVERIFY(child.waitForFinished());
    }

    void endsAsItBegan() {
        ScanServer server({.discard = 500ms});
        int received = 0;
        server.onPhotoReceived([&](const ReceivedPhoto&) { ++received; });
        server.start();
        std::mt19937 random(1);
        int owed = 0;
        const auto makeRequests = [&](int count) {
            whileServing([&] {
                for (int i = 0; i < count; ++i)
                    owed += makeRandomRequest(server.port(), random) ? 1 : 0;
            });
            QTest::qWait(1000); // for the last discarding connections
        };
        makeRequests(100);
        const QList<uint> before = inUse();
        makeRequests(10'000);
        QCOMPARE(inUse(), before);
        QCOMPARE(received, owed);
        QVERIFY(received > 2000);
    }
};

QTEST_GUILESS_MAIN(ScanServerTest)
#include "ScanServerTest.moc"
