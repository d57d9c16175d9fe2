#include "scan/PhonePages.h"
#include "tests/scan/RunningServer.h"

#include <random>
#include <set>

using namespace kopertal;
using namespace kopertal::test;
using namespace std::chrono_literals;
using namespace std::string_literals;

class ScanServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
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

    void splitAnywhere() {
        const std::string head = uploadHead(12);
        const std::string request = head + "ab\xFF\xD8-12345678";
        RunningServer s;
        std::vector<RawClient> clients;
        for (std::size_t cut = 1; cut < request.size(); ++cut) {
            clients.emplace_back(s.port);
            clients.back().send(request.substr(0, cut));
        }
        letItRead();
        for (std::size_t cut = 1; cut < request.size(); ++cut) {
            clients[cut - 1].send(request.substr(cut));
            const std::optional<std::string> answer = clients[cut - 1].readAll();
            QCOMPARE(answer.value_or("still open"), cut < head.size() ? "" : accepted);
        }
        QVERIFY(s.waitForPhotos(13));
        QCOMPARE(s.photos, std::vector<std::string>(13, "\xFF\xD8-1234567"));
        QVERIFY(s.isOnMainThread);
    }

    void deliversWhatArrived() {
        const struct {
            std::string sent;
            bool isFinished;
            std::string photo;
        } cases[] = {{uploadHead(3) + "abcdef", false, "abc"},
                     {uploadHead(9) + "abc", true, "abc"},
                     {uploadHead(9), true, ""},
                     {upload(std::string(300'000, 'x')), false, std::string(300'000, 'x')}};
        for (const auto& [sent, isFinished, photo] : cases) {
            RunningServer s;
            RawClient client(s.port);
            client.send(sent);
            if (isFinished)
                client.finish();
            QCOMPARE(client.readAll().value_or("still open"), accepted);
            QVERIFY(s.waitForPhotos(1));
            QCOMPARE(s.photos, std::vector{photo});
        }
    }

    void handsOverTheWholeBesideTheCut() {
        RunningServer s({}, true);
        const std::string png = "\x89PNG\r\n..\xFF\xD8..";
        RawClient::ask(s.port, upload(png));
        QVERIFY(s.waitForPhotos(1));
        const ReceivedPhoto& photo = s.held[0];
        QCOMPARE(std::string(photo.photo()), "\xFF\xD8.."s);
        QCOMPARE(std::string(photo.whole()), png);
        QCOMPARE(photo.photo().data(), photo.whole().data() + 8); // one value, no copy
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
            std::set<std::string> sent;
            std::vector<RawClient> clients;
            std::vector<std::thread> senders;
            for (int i = 0; i < 64; ++i) {
                clients.emplace_back(s.port);
                clients.back().send(uploadHead(1'000'000)); // all declared before any body is sent
            }
            for (RawClient& client : clients) {
                const std::string body = std::to_string(sent.size()) + std::string(1'000'000, 'x');
                sent.insert(body.substr(0, 1'000'000));
                senders.emplace_back(
                    [&client, body = body.substr(0, 1'000'000)] { client.send(body); });
            }
            const bool areAllThere = s.waitForPhotos(64);
            for (std::thread& sender : senders)
                sender.join();
            QVERIFY(areAllThere);
            for (RawClient& client : clients)
                QCOMPARE(client.readAll().value_or("still open"), accepted);
            QVERIFY((std::set<std::string>(s.photos.begin(), s.photos.end()) == sent));
        }
    }
};

QTEST_GUILESS_MAIN(ScanServerTest)
#include "ScanServerTest.moc"
