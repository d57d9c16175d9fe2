#include "scan/ConnectionLoop.h"
#include "scan/UploadBudget.h"
#include "tests/scan/RunningServer.h"

#include <QElapsedTimer>

#include <ctime>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace kopertal;
using namespace kopertal::test;
using namespace std::chrono_literals;
using namespace std::string_literals;

namespace {

/// How long a peer that goes on sending single bytes is listened to.
qint64 millisecondsOfDribbling(RawClient& client) {
    QElapsedTimer clock;
    clock.start();
    while (client.send("x") && clock.elapsed() < 10'000)
        QTest::qSleep(20);
    return clock.elapsed();
}

} // namespace

class ScanServerLimitsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whoIsWorthLeastGivesWayAtTheLimit() {
        RunningServer s({.connections = 4, .heldBytes = 1});
        RawClient working = s.begin(uploadHead(4) + "ab");
        RawClient waiting = s.begin(uploadHead(4));
        RawClient answered = s.begin(ping);
        RawClient silent = s.begin("");
        RawClient second = s.begin(uploadHead(4));
        QCOMPARE(silent.readAll(2s), std::optional(""s));
        QVERIFY(answered.send("x"));
        QTest::qSleep(60);
        QVERIFY(answered.send("x")); // still open
        RawClient third = s.begin(uploadHead(4));
        QTRY_VERIFY(!answered.send("x")); // closed
        QVERIFY(!waiting.readAll(50ms));
        QCOMPARE(RawClient::ask(s.port, ping), probe);
        QCOMPARE(waiting.readAll(2s), std::optional(""s));
        for (RawClient* upload : {&working, &second, &third}) {
            upload->send(upload == &working ? "cd" : "abcd");
            QCOMPARE(answerTo(*upload), accepted);
        }
    }

    void newConnectionsWaitWhileAllAreUploading() {
        RunningServer s({.connections = 1});
        RawClient uploading = s.begin(uploadHead(4) + "ab");
        RawClient waiting = s.begin(ping);
        QVERIFY(!waiting.readAll(300ms));
        uploading.send("cd");
        QCOMPARE(uploading.readAll().value_or(""), accepted);
        QCOMPARE(waiting.readAll().value_or(""), probe);
    }

    void goesOnWithoutDescriptorsToSpare() {
        RunningServer s;
        RawClient uploading = s.begin(uploadHead(4) + "ab");
        rlimit whole{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &whole), 0);
        const int lowestFree = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(lowestFree);
        const rlimit one{static_cast<rlim_t>(lowestFree) + 1, whole.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &one), 0);
        RawClient next(s.port);
        next.send(ping);
        const std::clock_t begin = std::clock();
        const bool isAnswered = next.readAll(600ms).has_value();
        const std::clock_t spent = std::clock() - begin;
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &whole), 0);
        QVERIFY(!isAnswered);
        QVERIFY2(spent < CLOCKS_PER_SEC / 5, "it spins");
        QCOMPARE(next.readAll().value_or("not accepted"), probe);
        uploading.send("cd");
        QCOMPARE(uploading.readAll(2s).value_or("still open"), accepted);
    }

    void endsWhatTakesTooLong() {
        const struct {
            std::string sent;
            bool dribbles;
            int limit; // ms
        } cases[] = {{"", false, 300},
                     {uploadHead(9) + "abc", false, 400},
                     {uploadHead(9000) + "abc", true, 900},
                     {ping, true, 500}};
        for (const auto& [sent, dribbles, limit] : cases) {
            RunningServer s({.header = 300ms, .bodyIdle = 400ms, .body = 900ms, .discard = 500ms});
            RawClient client(s.port);
            QElapsedTimer clock;
            clock.start();
            client.send(sent);
            if (dribbles)
                millisecondsOfDribbling(client);
            else
                QCOMPARE(client.readAll(3s), std::optional(""s));
            const QByteArray took = QByteArray::number(clock.elapsed()) + " ms: " + sent.c_str();
            QVERIFY2(clock.elapsed() >= limit - 50, took);
            QVERIFY2(clock.elapsed() < limit + 800, took);
            QVERIFY(s.photos.empty());
        }
    }

    void aSlowUploadGivesWayToAWaitingOne() {
        const struct {
            std::size_t bytesPerTick;
            bool isAwaited;
            bool survives;
        } cases[] = {{1, true, false}, {1, false, true}, {8000, true, true}}; // on course
        for (const auto& [bytesPerTick, isAwaited, survives] : cases) {
            RunningServer s({.paceGrace = 400ms, .pace = 4000ms, .heldBytes = 1});
            RawClient slow = s.begin(uploadHead(100'000));
            RawClient waiting(s.port);
            if (isAwaited)
                waiting.send(upload("photo"));
            std::string body(100'000, 'x');
            for (int tick = 0; tick < 12; ++tick) {
                slow.send(body.substr(0, bytesPerTick));
                body.erase(0, bytesPerTick);
                QTest::qSleep(100);
            }
            slow.send(body);
            QCOMPARE(answerTo(slow) == accepted, survives);
            if (isAwaited)
                QCOMPARE(answerTo(waiting), accepted);
        }
    }

    void uploadsWaitForTheRoomThatPhotosTake() {
        const struct {
            std::size_t heldBytes, declared, sent, fitting;
        } cases[] = {{10, 8, 8, 1},
                     {2 * UploadBudget::leastReservation, 9, 1, 2},
                     {1'000'000, 600'000, 3, 7}, // what ended early holds only what arrived
                     {1'000'000, 600'000, 300'001, 2}};
        for (const auto& [heldBytes, declared, sent, fitting] : cases) {
            RunningServer s({.room = 700ms, .heldBytes = heldBytes}, true);
            const std::string body(sent, 'x');
            const std::string request = uploadHead(declared) + body;
            for (std::size_t count = 1; count <= fitting; ++count) {
                QCOMPARE(RawClient::ask(s.port, request), accepted);
                QVERIFY(s.waitForPhotos(count));
            }
            QCOMPARE(RawClient::ask(s.port, request), ""); // waited as long as it may
            RawClient next = s.begin(request);
            next.finish();
            s.held.clear();
            QCOMPARE(next.readAll().value_or("still open"), accepted);
            QVERIFY(s.waitForPhotos(fitting + 1));
            QCOMPARE(s.photos, std::vector(fitting + 1, body));
        }
    }

    void thePeerThatHoldsLeastIsServedFirst() {
        RunningServer s({.room = 2000ms,
                         .paceGrace = 60'000ms,
                         .heldBytes = 2 * UploadBudget::leastReservation});
        RawClient greedy[] = {s.begin(uploadHead(1)), s.begin(uploadHead(1)),
                              s.begin(uploadHead(1)), s.begin(uploadHead(1))};
        RawClient modest(s.port, "127.0.0.2");
        modest.send(upload("m"));
        QTest::qSleep(60);
        greedy[0].send("1"); // gives its room to the other, though two came before
        QCOMPARE(answerTo(modest), accepted);
    }

    /// One larger than the system's buffers, which take the program's own pages for any peer.
    void aPeerThatTakesNoAnswerIsLetGo() {
        PhoneDocuments documents;
        documents.scanPage.resize(64'000'000);
        ConnectionLoop loop(documents, {.answer = 500ms, .discard = 60s}, {});
        RawClient client(loop.listen(0).value_or(0));
        QVERIFY(client.send("GET / HTTP/1.1\r\n\r\n"));
        const qint64 took = millisecondsOfDribbling(client);
        QVERIFY(took >= 450);
        QVERIFY(took < 10'000);
    }

    void aFloodAfterTheAnswerIsEnded() {
        RunningServer s({.discardBytes = 1'000'000});
        RawClient client(s.port);
        client.send(ping);
        std::string flood;
        flood.resize(50'000'000);
        QVERIFY(!client.send(flood));
    }
};

QTEST_GUILESS_MAIN(ScanServerLimitsTest)
#include "ScanServerLimitsTest.moc"
