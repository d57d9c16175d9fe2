#include "scan/ScanServer.h"

#include "scan/PhonePages.h"
#include "scan/PhoneProtocol.h"
#include "scan/UploadBudget.h"
#include "tests/support/RawClient.h"

#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <memory>
#include <random>
#include <set>
#include <thread>
#include <vector>

using namespace kopertal;
using namespace std::chrono_literals;
using namespace std::string_literals;

namespace {

const std::string accepted = answerBytes(Answer::accepted, {});
const std::string tooLarge = answerBytes(Answer::tooLarge, {});
const std::string probe = answerBytes(Answer::probe, {});

std::string uploadHead(std::size_t length) {
    return "POST /upload HTTP/1.1\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
}

/// Long enough for the server to have read what was sent so far.
void letItRead() {
    std::this_thread::sleep_for(60ms);
}

/// A server with what it has handed over.
struct Fixture {
    explicit Fixture(const ServerLimits& limits = {})
        : server(std::make_unique<ScanServer>(limits)) {
        server->onPhotoReceived([this](const ReceivedPhoto& photo) {
            isOnMainThread = isOnMainThread &&
                             QThread::currentThread() == QCoreApplication::instance()->thread();
            photos.emplace_back(photo.photo());
        });
        server->start();
        port = server->port();
    }

    bool waitForPhotos(std::size_t count) {
        return QTest::qWaitFor([&] { return photos.size() >= count; }, 20'000);
    }

    std::vector<std::string> photos;
    bool isOnMainThread = true;
    std::uint16_t port = 0;
    std::unique_ptr<ScanServer> server;
};

} // namespace

class ScanServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startsOnAFreePort() {
        ScanServer server;
        QCOMPARE(server.port(), std::uint16_t(0));
        server.stop(); // nothing yet to stop
        QElapsedTimer clock;
        clock.start();
        server.start();
        QVERIFY(clock.elapsed() >= 150);
        QVERIFY(server.port() != 0);
        QCOMPARE(RawClient::ask(server.port(), "GET /ping\r\n\r\n"), probe);
        RawClient sixth(server.port(), RawClient::Family::v6);
        if (!sixth.isOpen())
            QSKIP("no IPv6 here");
        sixth.send("GET /ping\r\n\r\n");
        QCOMPARE(sixth.readAll().value_or(""), probe);
    }

    void takesTheFixedPortOrStaysSilent() {
        Fixture first;
        ScanServer second;
        second.start(first.port); // busy
        QCOMPARE(second.port(), std::uint16_t(0));
        first.server->stop();
        letItRead();
        second.start(first.port);
        QCOMPARE(second.port(), first.port);
        QCOMPARE(RawClient::ask(second.port(), "GET /ping\r\n\r\n"), probe);
        try {
            second.start(0);
            QFAIL("accepted port 0");
        } catch (const ScanServerError& error) {
            QCOMPARE(error.what(), "Invalid port: 0");
            QCOMPARE(ScanServerError::domain, "ScanServer");
            QCOMPARE(error.code, 1);
        }
    }

    void aSecondStartReplacesTheListener() {
        Fixture f;
        f.server->start();
        QVERIFY(f.server->port() != f.port);
        QVERIFY(!RawClient(f.port).isOpen());
        QCOMPARE(RawClient::ask(f.server->port(), "GET /ping\r\n\r\n"), probe);
    }

    void stopLeavesAcceptedConnectionsAlone() {
        Fixture f;
        RawClient client(f.port);
        client.send(uploadHead(4) + "ab");
        letItRead();
        f.server->stop();
        letItRead();
        QVERIFY(!RawClient(f.port).isOpen());
        QCOMPARE(f.server->port(), f.port);
        client.send("cd");
        QCOMPARE(client.readAll().value_or(""), accepted);
        QVERIFY(f.waitForPhotos(1));
    }

    void aDroppedServerDeliversNothing() {
        Fixture f;
        RawClient unfinished(f.port);
        unfinished.send(uploadHead(4) + "ab");
        RawClient finished(f.port);
        finished.send(uploadHead(2) + "ab");
        QCOMPARE(finished.readAll(300ms).value_or(""), accepted); // handed over, not yet received
        f.server.reset();
        QCOMPARE(unfinished.readAll(1s), std::optional<std::string>(""));
        QTest::qWait(100);
        QVERIFY(f.photos.empty());
    }

    void answersRequests_data() {
        QTest::addColumn<std::string>("request");
        QTest::addColumn<std::string>("answer");
        const PhoneDocuments pages = phonePages();
        const auto row = [](const char* name, std::string request, std::string answer) {
            QTest::newRow(name) << std::move(request) << std::move(answer);
        };
        row("scan page", "GET / HTTP/1.1\r\nHost: x\r\n\r\n", answerBytes(Answer::scanPage, pages));
        row("icon", "GET /favicon.ico HTTP/1.1\r\n\r\n", answerBytes(Answer::scanPage, pages));
        row("pairing page", "GET /pair?x=1 HTTP/1.1\r\n\r\n",
            answerBytes(Answer::pairingPage, pages));
        row("manifest", "GET /manifest.json HTTP/1.1\r\n\r\n",
            answerBytes(Answer::manifest, pages));
        row("service worker", "GET /sw.js HTTP/1.1\r\n\r\n",
            answerBytes(Answer::serviceWorker, pages));
        row("only the first of two", "GET /ping\r\n\r\nGET /pair\r\n\r\n", probe);
        row("body of a GET", "GET /ping HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc", probe);
        row("HEAD", "HEAD / HTTP/1.1\r\n\r\n", answerBytes(Answer::notFound, {}));
        row("no length", "POST /upload HTTP/1.1\r\n\r\n", answerBytes(Answer::badRequest, {}));
        row("too large", uploadHead(52'428'801), tooLarge);
        row("not UTF-8", "GET /\xC0 HTTP/1.1\r\n\r\n", "");
        row("no end of the header", "GET /ping HTTP/1.1\r\n", "");
        row("header beyond a read", "GET /" + std::string(70'000, 'a') + "\r\n\r\n", "");
        row("nothing", "", "");
    }

    void answersRequests() {
        QFETCH(std::string, request);
        QFETCH(std::string, answer);
        Fixture f;
        RawClient open(f.port);
        if (!request.empty()) {
            open.send(request);
            QCOMPARE(open.readAll(3s).value_or("still open"), answer);
        }
        QCOMPARE(RawClient::ask(f.port, request), answer); // after a half-close
    }

    void splitAnywhere() {
        const std::string head = uploadHead(12);
        const std::string request = head + "ab\xFF\xD8-12345678";
        Fixture f;
        std::vector<RawClient> clients;
        for (std::size_t cut = 1; cut < request.size(); ++cut) {
            clients.emplace_back(f.port);
            clients.back().send(request.substr(0, cut));
        }
        letItRead();
        for (std::size_t cut = 1; cut < request.size(); ++cut) {
            clients[cut - 1].send(request.substr(cut));
            const std::optional<std::string> answer = clients[cut - 1].readAll();
            QCOMPARE(answer.value_or("still open"), cut < head.size() ? "" : accepted);
        }
        QVERIFY(f.waitForPhotos(13));
        QCOMPARE(f.photos, std::vector<std::string>(13, "\xFF\xD8-1234567"));
        QVERIFY(f.isOnMainThread);
    }

    void deliversWhatArrived_data() {
        QTest::addColumn<std::string>("sent");
        QTest::addColumn<bool>("isFinished");
        QTest::addColumn<std::string>("photo");
        QTest::newRow("all at once") << uploadHead(3) + "abc" << false << "abc"s;
        QTest::newRow("the excess is dropped") << uploadHead(3) + "abcdef" << false << "abc"s;
        QTest::newRow("cut at the marker")
            << uploadHead(6) + "ab\xFF\xD8-1" << false << "\xFF\xD8-1"s;
        QTest::newRow("short after a half-close") << uploadHead(9) + "abc" << true << "abc"s;
        QTest::newRow("empty after a half-close") << uploadHead(9) << true << ""s;
        QTest::newRow("larger than a read") << uploadHead(300'000) + std::string(300'000, 'x')
                                            << false << std::string(300'000, 'x');
    }

    void deliversWhatArrived() {
        QFETCH(std::string, sent);
        QFETCH(bool, isFinished);
        QFETCH(std::string, photo);
        Fixture f;
        RawClient client(f.port);
        client.send(sent);
        if (isFinished)
            client.finish();
        QCOMPARE(client.readAll().value_or("still open"), accepted);
        QVERIFY(f.waitForPhotos(1));
        QCOMPARE(f.photos, std::vector{photo});
    }

    void handsOverTheWholeBesideTheCut() {
        ScanServer server;
        std::vector<ReceivedPhoto> photos;
        server.onPhotoReceived([&](const ReceivedPhoto& photo) { photos.push_back(photo); });
        server.start();
        const std::string png = "\x89PNG\r\n..\xFF\xD8..";
        RawClient::ask(server.port(), uploadHead(png.size()) + png);
        QVERIFY(QTest::qWaitFor([&] { return !photos.empty(); }));
        QCOMPARE(std::string(photos[0].photo()), "\xFF\xD8.."s);
        QCOMPARE(std::string(photos[0].whole()), png);
        QCOMPARE(photos[0].photo().data(), photos[0].whole().data() + 8); // one value, no copy
    }

    void aResetEndsItsUpload() {
        Fixture f;
        RawClient client(f.port);
        client.send(uploadHead(10) + "abc");
        letItRead();
        client.reset();
        QCOMPARE(RawClient::ask(f.port, uploadHead(2) + "ok"), accepted);
        QVERIFY(f.waitForPhotos(1));
        QTest::qWait(100);
        QCOMPARE(f.photos, std::vector{"ok"s});
    }

    void refusesALargePhotoThatIsStillBeingSent() {
        Fixture f;
        RawClient client(f.port);
        QVERIFY(client.send(uploadHead(60'000'000)));
        QVERIFY(client.send(std::string(60'000'000, 'x'))); // read and thrown away
        QCOMPARE(client.readAll().value_or("still open"), tooLarge);
    }

    void acceptsTheLargestPhoto() {
        std::string body(maxUploadBytes, '\0');
        std::mt19937 random(1);
        for (std::size_t i = 0; i < body.size(); i += 1000)
            body[i] = static_cast<char>(random() % 127);
        Fixture f;
        RawClient client(f.port);
        QVERIFY(client.send(uploadHead(body.size()) + body));
        QCOMPARE(client.readAll().value_or("still open"), accepted);
        QVERIFY(f.waitForPhotos(1));
        QVERIFY(f.photos[0] == body);
    }

    void deliversSixtyFourUploadsAtOnce_data() {
        QTest::addColumn<std::size_t>("heldBytes");
        QTest::newRow("with room for all") << ServerLimits().heldBytes;
        QTest::newRow("with room for two") << std::size_t(2'100'000);
        QTest::newRow("with room for none") << std::size_t(1);
    }

    void deliversSixtyFourUploadsAtOnce() {
        QFETCH(std::size_t, heldBytes);
        ServerLimits limits;
        limits.heldBytes = heldBytes;
        Fixture f(limits);
        std::set<std::string> sent;
        std::vector<RawClient> clients;
        std::vector<std::thread> senders;
        for (int i = 0; i < 64; ++i) {
            clients.emplace_back(f.port);
            clients.back().send(uploadHead(1'000'000)); // all declared before any body is sent
        }
        for (RawClient& client : clients) {
            const std::string body = std::to_string(sent.size()) + std::string(1'000'000, 'x');
            sent.insert(body.substr(0, 1'000'000));
            senders.emplace_back(
                [&client, body = body.substr(0, 1'000'000)] { client.send(body); });
        }
        const bool areAllThere = f.waitForPhotos(64);
        for (std::thread& sender : senders)
            sender.join();
        QVERIFY(areAllThere);
        for (RawClient& client : clients)
            QCOMPARE(client.readAll().value_or("still open"), accepted);
        QVERIFY((std::set<std::string>(f.photos.begin(), f.photos.end()) == sent));
    }

    void worksBesideIdleConnections() {
        Fixture f;
        std::vector<RawClient> idle;
        for (int i = 0; i < 300; ++i)
            idle.emplace_back(f.port);
        for (int i = 1; i <= 20; ++i) {
            QCOMPARE(RawClient::ask(f.port, "GET /ping\r\n\r\n"), probe);
            QCOMPARE(RawClient::ask(f.port, uploadHead(2) + "ok"), accepted);
        }
        QVERIFY(f.waitForPhotos(20));
        for (RawClient& client : idle) {
            client.send("GET /ping\r\n\r\n");
            QCOMPARE(client.readAll().value_or(""), probe);
        }
    }

    void silentConnectionsGiveWayAtTheLimit() {
        ServerLimits limits;
        limits.connections = 8;
        Fixture f(limits);
        RawClient upload(f.port);
        upload.send(uploadHead(4) + "ab");
        letItRead();
        std::vector<RawClient> idle;
        for (int i = 0; i < 30; ++i)
            idle.emplace_back(f.port);
        QCOMPARE(RawClient::ask(f.port, "GET /ping\r\n\r\n"), probe);
        QCOMPARE(idle.front().readAll(2s), std::optional<std::string>("")); // the oldest has gone
        upload.send("cd");
        QCOMPARE(upload.readAll().value_or(""), accepted);
    }

    void newConnectionsWaitWhileAllAreUploading() {
        ServerLimits limits;
        limits.connections = 3;
        Fixture f(limits);
        std::vector<RawClient> uploads;
        for (int i = 0; i < 3; ++i) {
            uploads.emplace_back(f.port);
            uploads.back().send(uploadHead(4) + "ab");
            letItRead();
        }
        RawClient waiting(f.port);
        waiting.send("GET /ping\r\n\r\n");
        QVERIFY(!waiting.readAll(300ms));
        for (RawClient& upload : uploads) {
            upload.send("cd");
            QCOMPARE(upload.readAll().value_or(""), accepted);
        }
        uploads.clear();
        QCOMPARE(waiting.readAll().value_or(""), probe);
    }

    void endsWhatTakesTooLong_data() {
        QTest::addColumn<std::string>("sent");
        QTest::addColumn<bool>("dribbles"); // goes on sending one byte at a time
        QTest::addColumn<int>("limit");     // ms
        QTest::newRow("silent from the start") << ""s << false << 300;
        QTest::newRow("silent in the body") << uploadHead(9) + "abc" << false << 400;
        QTest::newRow("too slow in the body") << uploadHead(9000) + "abc" << true << 900;
        QTest::newRow("answered and silent") << "GET /ping\r\n\r\n"s << false << 500;
        QTest::newRow("answered and sending on") << "GET /ping\r\n\r\n"s << true << 500;
    }

    void endsWhatTakesTooLong() {
        QFETCH(std::string, sent);
        QFETCH(bool, dribbles);
        QFETCH(int, limit);
        ServerLimits limits;
        limits.header = 300ms;
        limits.bodyIdle = 400ms;
        limits.body = 900ms;
        limits.discard = 500ms;
        Fixture f(limits);
        RawClient client(f.port);
        QElapsedTimer clock;
        clock.start();
        client.send(sent);
        if (!dribbles) {
            const std::string answer = sent.starts_with("GET") ? probe : "";
            QCOMPARE(client.readAll(3s), std::optional(answer));
            if (!answer.empty())
                QTest::qSleep(limit);
        }
        // A connection that is closed at the other end soon refuses to take more.
        while (client.send("x") && clock.elapsed() < 3000)
            QTest::qSleep(20);
        QVERIFY2(clock.elapsed() >= limit - 50, qPrintable(QString::number(clock.elapsed())));
        QVERIFY2(clock.elapsed() < limit + 800, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(f.photos.empty());
    }

    void anUploadWithoutRoomWaitsWithinItsTime() {
        ServerLimits limits;
        limits.heldBytes = 10;
        limits.body = 700ms;
        limits.bodyIdle = 700ms;
        ScanServer server(limits);
        std::vector<ReceivedPhoto> kept;
        server.onPhotoReceived([&](const ReceivedPhoto& photo) { kept.push_back(photo); });
        server.start();
        QCOMPARE(RawClient::ask(server.port(), uploadHead(8) + "12345678"), accepted);
        QVERIFY(QTest::qWaitFor([&] { return kept.size() == 1; }));
        // As long as the first photo is held, there is no room for a second one.
        QCOMPARE(RawClient::ask(server.port(), uploadHead(8) + "abcdefgh"), "");
        RawClient waiting(server.port());
        waiting.send(uploadHead(8) + "ABCDEFGH");
        letItRead();
        kept.clear();
        QCOMPARE(waiting.readAll().value_or("still open"), accepted);
        QVERIFY(QTest::qWaitFor([&] { return kept.size() == 1; }));
        QCOMPARE(std::string(kept[0].photo()), "ABCDEFGH"s);
    }

    void countsEveryUploadAsAtLeastTheMinimum() {
        ServerLimits limits;
        limits.heldBytes = 2 * UploadBudget::leastReservation;
        ScanServer server(limits);
        std::vector<ReceivedPhoto> kept;
        server.onPhotoReceived([&](const ReceivedPhoto& photo) { kept.push_back(photo); });
        server.start();
        for (std::size_t count = 1; count <= 2; ++count) {
            QCOMPARE(RawClient::ask(server.port(), uploadHead(1) + "x"), accepted);
            QVERIFY(QTest::qWaitFor([&] { return kept.size() == count; }));
        }
        RawClient third(server.port());
        third.send(uploadHead(1) + "x");
        QVERIFY(!third.readAll(300ms));
        kept.clear();
        QCOMPARE(third.readAll().value_or("still open"), accepted);
    }

    void aShortUploadHoldsOnlyWhatArrived_data() {
        QTest::addColumn<std::size_t>("size");
        QTest::newRow("nothing") << std::size_t(0);
        QTest::newRow("a few bytes") << std::size_t(3);
        QTest::newRow("many pages") << std::size_t(300'001);
    }

    void aShortUploadHoldsOnlyWhatArrived() {
        QFETCH(std::size_t, size);
        ServerLimits limits;
        limits.heldBytes = 1'000'000;
        ScanServer server(limits);
        std::vector<ReceivedPhoto> kept;
        server.onPhotoReceived([&](const ReceivedPhoto& photo) { kept.push_back(photo); });
        server.start();
        const std::string body(size, 'x');
        QCOMPARE(RawClient::ask(server.port(), uploadHead(600'000) + body), accepted);
        QCOMPARE(RawClient::ask(server.port(), uploadHead(600'000) + "next"), accepted);
        QVERIFY(QTest::qWaitFor([&] { return kept.size() == 2; }));
        QCOMPARE(std::string(kept[0].whole()), body);
    }

    void aFloodAfterTheAnswerIsEnded() {
        ServerLimits limits;
        limits.discardBytes = 1'000'000;
        Fixture f(limits);
        RawClient client(f.port);
        client.send("GET /ping\r\n\r\n");
        QVERIFY(!client.send(std::string(50'000'000, 'x')));
    }
};

QTEST_GUILESS_MAIN(ScanServerTest)
#include "ScanServerTest.moc"
