#include "scan/PhonePages.h"
#include "tests/scan/RandomRequest.h"
#include "tests/scan/RunningServer.h"
#include "tests/support/Files.h"

#include <QDir>
#include <QProcess>

#include <malloc.h>
#include <random>
#include <set>

using namespace kopertal;
using namespace kopertal::test;
using namespace std::chrono_literals;
using namespace std::string_literals;

namespace {

struct Resources {
    uint descriptors;
    uint threads;
    int residentPages;
};

Resources resourcesNow() {
    malloc_trim(0);
    const auto entries = [](const char* folder) {
        return QDir(folder, {}, QDir::NoSort, QDir::AllEntries | QDir::System).count();
    };
    return {entries("/proc/self/fd"), entries("/proc/self/task"),
            contentsOf("/proc/self/statm").split(' ')[1].toInt()};
}

} // namespace

class ScanServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listensWhereItIsTold() {
        ScanServer server;
        server.stop(); // nothing yet to stop
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
        QCOMPARE(second.port(), server.port());
        QCOMPARE(RawClient::ask(second.port(), ping), probe);
        QVERIFY_THROWS_EXCEPTION(ScanServerError, second.start(0));
        RawClient sixth(second.port(), RawClient::Family::v6);
        if (!sixth.isOpen())
            QSKIP("no IPv6 here");
        sixth.send(ping);
        QCOMPARE(sixth.readAll(), std::optional(probe));
    }

    void answersRequests() {
        const std::pair<std::string, std::string> cases[] = {
            {"GET / HTTP/1.1\r\nHost: x\r\n\r\n", answerBytes(Answer::scanPage, phonePages())},
            {"GET /ping\r\n\r\nGET /pair\r\n\r\n", probe},
            {"GET /ping HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc", probe},
            {uploadHead(52'428'801), tooLarge},
            {"GET /\xC0 HTTP/1.1\r\n\r\n", ""},
            {"GET /ping HTTP/1.1\r\n", ""},
            {"GET /" + std::string(70'000, 'a') + "\r\n\r\n", ""},
            {"", ""}};
        for (const auto& [request, answer] : cases) {
            RunningServer s;
            RawClient open(s.port);
            if (!request.empty()) {
                open.send(request);
                QCOMPARE(open.readAll(3s).value_or("still open"), answer);
            }
            QCOMPARE(RawClient::ask(s.port, request), answer); // after a half-close
        }
    }

    void deliversWhatArrived() {
        RunningServer s;
        for (const char* sent : {"abc", ""}) // and its end
            QCOMPARE(RawClient::ask(s.port, uploadHead(9) + sent), accepted);
        RawClient client(s.port);
        client.send(uploadHead(3) + "abcdef");
        QCOMPARE(client.readAll(), std::optional(accepted));
        QVERIFY(s.waitForPhotos(3));
        QCOMPARE(s.photos, (std::vector{"abc"s, ""s, "abc"s}));
    }

    void refusesALargePhotoThatIsStillBeingSent() {
        RunningServer s;
        RawClient client(s.port);
        QVERIFY(client.send(uploadHead(60'000'000)));
        QVERIFY(client.send(std::string(60'000'000, 'x'))); // read and thrown away
        QCOMPARE(client.readAll().value_or("still open"), tooLarge);
    }

    void acceptsTheLargestPhoto() {
        std::string body(maxUploadBytes, '\0');
        std::mt19937 random(1);
        for (std::size_t i = 0; i < body.size(); i += 1000)
            body[i] = static_cast<char>(random() % 127);
        RunningServer s;
        RawClient client(s.port);
        QVERIFY(client.send(upload(body)));
        QCOMPARE(client.readAll().value_or("still open"), accepted);
        QVERIFY(s.waitForPhotos(1));
        QVERIFY(s.photos[0] == body);
    }

    void deliversSixtyFourUploadsAtOnce() {
        // With room for all, for two, for none.
        for (const std::size_t heldBytes :
             {ServerLimits().heldBytes, std::size_t(2'100'000), std::size_t(1)}) {
            RunningServer s({.heldBytes = heldBytes});
            std::vector<RawClient> clients;
            for (int i = 0; i < 64; ++i) {
                clients.emplace_back(s.port);
                clients.back().send(uploadHead(1'000'000)); // all declared before any body is sent
            }
            std::set<std::string> sent;
            std::vector<std::jthread> senders;
            for (RawClient& client : clients) {
                const std::string body(1'000'000, static_cast<char>('0' + sent.size()));
                sent.insert(body);
                senders.emplace_back([&client, body] { client.send(body); });
            }
            QVERIFY(s.waitForPhotos(64));
            for (RawClient& client : clients)
                QCOMPARE(client.readAll().value_or("still open"), accepted);
            QVERIFY((std::set<std::string>(s.photos.begin(), s.photos.end()) == sent));
        }
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

    void startedProgramsInheritNoConnection() {
        RunningServer s;
        RawClient client = s.begin(uploadHead(4) + "ab");
        QProcess child;
        child.start("sleep", {"600"});
        QVERIFY(child.waitForStarted());
        s.server.reset();
        QCOMPARE(client.readAll(5s), std::optional(""s)); // nobody else has it
        QVERIFY(!RawClient(s.port).isOpen());
        QCOMPARE(child.state(), QProcess::Running);
        child.kill();
        QVERIFY(child.waitForFinished());
    }

    void aDroppedServerDeliversNothing() {
        RunningServer s;
        RawClient unfinished = s.begin(uploadHead(4) + "ab");
        RawClient finished(s.port);
        finished.send(upload("ab"));
        QCOMPARE(finished.readAll(300ms).value_or(""), accepted); // handed over, not yet received
        s.server.reset();
        QCOMPARE(unfinished.readAll(1s), std::optional(""s));
        QTest::qWait(100);
        QVERIFY(s.photos.empty());
    }

    void endsAsItBegan() {
        ScanServer server({.discard = 500ms});
        int received = 0;
        server.onPhotoReceived([&](const ReceivedPhoto&) { ++received; });
        server.start();
        const auto makeRequests = [&](int count) {
            const int owed = whileServing([&] {
                std::mt19937 random(1);
                int uploads = 0;
                for (int i = 0; i < count; ++i)
                    uploads += makeRandomRequest(server.port(), random) ? 1 : 0;
                return uploads;
            });
            QTest::qWait(1000); // for the last discarding connections
            return owed;
        };
        const int owedBefore = makeRequests(500); // fills caches
        const Resources before = resourcesNow();
        const int owed = owedBefore + makeRequests(10'000);
        const Resources after = resourcesNow();
        QCOMPARE(received, owed);
        QVERIFY(received > 2000);
        QCOMPARE(after.descriptors, before.descriptors);
        QCOMPARE(after.threads, before.threads);
        qInfo("pages before %d, after %d", before.residentPages, after.residentPages);
#ifndef __SANITIZE_ADDRESS__ // which keeps freed memory for a while
        QVERIFY(after.residentPages < before.residentPages + 512);
#endif
    }
};

QTEST_GUILESS_MAIN(ScanServerTest)
#include "ScanServerTest.moc"
