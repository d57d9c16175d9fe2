#include "net/HttpClient.h"

#include "tests/support/HttpRequests.h"

#include <QElapsedTimer>
#include <QTest>

#include <memory>
#include <sys/resource.h>

using namespace kopertal;
using namespace std::chrono_literals;

namespace {

/// In bytes, as the kernel counts it.
qint64 peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return qint64(usage.ru_maxrss) * 1024;
}

} // namespace

class HttpClientTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        for (const char* name : {"http_proxy", "https_proxy", "all_proxy", "no_proxy",
                                 "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY"})
            qunsetenv(name);
        QVERIFY(m_standIn.isReady());
    }

    void init() {
        m_client = std::make_unique<HttpClient>(trusting(m_standIn));
        m_clock.start();
    }

    void cleanup() {
        qunsetenv("http_proxy");
        qunsetenv("no_proxy");
    }

    void failuresAreTold_data() {
        QTest::addColumn<QString>("address");
        QTest::addColumn<HttpFailure>("failure");
        const auto rows = [this](const char* listener, HttpFailure failure,
                                 const QStringList& paths) {
            for (const QString& path : paths)
                QTest::addRow("%s %s", listener, qPrintable(path))
                    << m_standIn.address(listener, path) << failure;
        };
        for (const char* listener : {"http", "https"}) {
            rows(listener, HttpFailure::timedOut, {"silent", "half", "drip"});
            rows(listener, HttpFailure::connectionLost, {"cut", "close", "reset"});
            rows(listener, HttpFailure::tooLarge, {"endless", "headers", "bomb"});
            rows(listener, HttpFailure::tooManyRedirects, {"loop"});
            rows(listener, HttpFailure::unusableRedirect, {"elsewhere", "nowhere"});
            rows(listener, HttpFailure::malformedAnswer, {"garbage", "badzip"});
        }
        rows("http2", HttpFailure::timedOut, {"silent%20after%205"});
        rows("http2", HttpFailure::connectionLost, {"reset"});
        rows("https", HttpFailure::insecureRedirect, {"downgrade"});
        rows("otherHost", HttpFailure::certificateForOtherHost, {"open"});
        rows("expired", HttpFailure::certificateExpired, {"open"});
        rows("stranger", HttpFailure::certificateUntrusted, {"open"});
        rows("greeter", HttpFailure::tlsFailed, {"open"});
        const char* none = ""; // addresses of their own
        rows(none, HttpFailure::connectionFailed, {"http://127.0.0.1:9/", "https://127.0.0.1:9/"});
        rows(none, HttpFailure::hostNotFound, {"http://no-such-host.invalid/"});
        rows(none, HttpFailure::invalidAddress, {"", "http://[1"});
        rows(none, HttpFailure::unsupportedAddress, {"localhost:1/service", "file:///etc/passwd"});
    }

    void failuresAreTold() {
        QFETCH(QString, address);
        QFETCH(HttpFailure, failure);
        const qint64 memoryBefore = peakMemory();
        HttpRequest request = requestTo(address);
        request.timeout = failure == HttpFailure::timedOut ? 600ms : 20'000ms;
        const HttpAnswer answer = m_client->send(request).result();
        QCOMPARE(answer.failure, failure);
        QVERIFY(answer.text().empty());
        QVERIFY(!failureText(answer).isEmpty());
        if (failure == HttpFailure::timedOut)
            QVERIFY2(m_clock.elapsed() >= 550, qPrintable(QString::number(m_clock.elapsed())));
        QVERIFY(m_clock.elapsed() < 5'000);
        QVERIFY(peakMemory() - memoryBefore < 64'000'000);
    }

    void answersArriveWhole() {
        QVERIFY(ask("http", "huge").text().size() > 9'000'000);
        QCOMPARE(ask("http2", "huge").text(), ask("http", "huge").text());
        QCOMPARE(ask("http", "zipped").text(), ask("http", "delivered").text());
    }

    void redirectsAreFollowedAsByBrowsers() {
        const auto follow = [this](const std::string& number) {
            HttpRequest request = this->request("http", "service");
            request.bodyHeaders = {"Content-Type: text/xml", "SOAPAction: \"\""};
            request.body = "<sled:numer>" + number + "</sled:numer>";
            const HttpAnswer answer = m_client->send(request).result();
            return std::pair(answer.text(), m_standIn.recorded());
        };
        const auto [answerToPost, post] = follow("moved307");
        QCOMPARE(answerToPost, ask("http", "pickedup").text());
        QVERIFY(post.startsWith("POST /whatever"));
        QVERIFY(post.contains("\r\nSOAPAction: \"\"\r\n"));
        QVERIFY(post.endsWith("\r\n\r\n<sled:numer>moved307</sled:numer>"));

        const auto [answerToGet, get] = follow("moved302");
        QCOMPARE(answerToGet, ask("http", "open").text());
        QVERIFY(get.startsWith("GET /open"));
        QVERIFY(!get.contains("Content-Type") && !get.contains("SOAPAction"));
        QVERIFY(get.endsWith("\r\n\r\n"));
    }

    void manyAtOnceShareAndKeepTheirConnections() {
        for (const auto& [listener, mostConnections] : {std::pair{"http", 300}, {"http2", 4}}) {
            const int before = m_standIn.connections();
            m_clock.start();
            const auto answers = sendMany(*m_client, request(listener, "open%20after%201"), 300);
            QCOMPARE(countOf(HttpFailure::none, answers), 300);
            QVERIFY2(m_clock.elapsed() < 10'000, qPrintable(QString::number(m_clock.elapsed())));
            for (int i = 0; i < 5; ++i)
                QCOMPARE(ask(listener, "open").failure, HttpFailure::none);
            const int used = m_standIn.connections() - before - 1; // the question itself
            QVERIFY2(used <= mostConnections, qPrintable(QString::number(used)));
        }
    }

    void aConnectionThatHangsHoldsUpNoOtherToItsServer() {
        HttpRequest hesitating = request("hesitant", "open");
        hesitating.timeout = 4'000ms;
        const auto answers = sendMany(*m_client, hesitating, 20);
        QCOMPARE(countOf(HttpFailure::none, answers.mid(1)), 19);
        QVERIFY(m_clock.elapsed() < 3'000);
        QCOMPARE(answers[0].result().failure, HttpFailure::timedOut);
    }

    void aServerThatHangsBeforeItIsConnectedHoldsUpNobody() {
        HttpRequest hanging = request("http", "open"); // which waits for a request, not for TLS
        hanging.url.insert(4, "s");
        hanging.timeout = 1'500ms;
        const auto answers = sendMany(*m_client, hanging, 20);
        QCOMPARE(ask("https", "open").failure, HttpFailure::none);
        QVERIFY(m_clock.elapsed() < 1'000);
        QCOMPARE(countOf(HttpFailure::timedOut, answers), 20);
        QVERIFY(m_clock.elapsed() < 5'000); // not one after the other
    }

    void answersUnderWayShareOneBound() {
        HttpClient client = boundedTo(25'000'000); // two and a half
        const HttpRequest huge = request("http", "huge");
        auto answers = sendMany(client, huge, 12);
        const qsizetype refused = countOf(HttpFailure::tooLarge, answers);
        QVERIFY(refused > 0 && refused < 12);
        QCOMPARE(countOf(HttpFailure::none, answers), 12 - refused);
        // What nobody has read yet counts; what was refused or let go of does not.
        QCOMPARE(client.send(huge).result().failure, HttpFailure::tooLarge);
        answers.clear();
        QCOMPARE(client.send(huge).result().failure, HttpFailure::none);
    }

    void largeAnswersLeaveRoomForOrdinaryOnes() {
        HttpClient client = boundedTo(1'000'000);
        QList<QFuture<HttpAnswer>> large;
        QList<QFuture<HttpAnswer>> ordinary;
        for (int i = 0; i < 40; ++i) {
            for (const char* path : {"bomb", "endless", "huge"})
                large << client.send(request("http", path));
            for (const char* path : {"delivered", "zipped"})
                ordinary << client.send(request("http", path));
        }
        QCOMPARE(countOf(HttpFailure::tooLarge, large), 120);
        QCOMPARE(countOf(HttpFailure::none, ordinary), 80);
    }

    void whatOneAnswerMayTakeUncountedIsBounded() {
        const auto none = std::make_shared<ByteBudget>(0);
        const std::string half(ReceivedBody::uncounted / 2, 'x');
        ReceivedBody body(none, 10 * ReceivedBody::uncounted);
        QVERIFY(body.append(half.data(), half.size() - 1)); // twice that would be reserved
        QVERIFY(body.append(half.data(), half.size()));
        QVERIFY(body.append(half.data(), 1));
        QVERIFY(!body.append(half.data(), 1));
        QVERIFY(body.text().capacity() < ReceivedBody::uncounted + 100);
    }

    void destructionCancelsWhatIsLeft() {
        m_client->send(requestTo("http://no-such-host.invalid/"));
        const auto answers = sendMany(*m_client, request("http", "silent"), 25) +
                             sendMany(*m_client, request("https", "silent"), 25);
        QTest::qWait(100);
        m_clock.start();
        m_client.reset();
        QVERIFY(m_clock.elapsed() < 1'000);
        QCOMPARE(countOf(HttpFailure::cancelled, answers), 50);
    }

    void proxiesAreAskedButNeverForThisMachine() {
        qputenv("http_proxy", m_standIn.address("http").toUtf8());
        qputenv("no_proxy", "intranet.invalid"); // which goes beside this machine
        HttpClient client;
        const auto outcome = [&](const QString& host) { // where nobody listens
            return client.send(requestTo("http://" + host + ":9/open")).result().failure;
        };
        for (const char* host :
             {"localhost", "127.9.9.9", "0", "[::1]", "[::1%25lo]", "[::ffff:7f00:1]"})
            QVERIFY2(outcome(host) == HttpFailure::connectionFailed, host);
        for (const char* host : {"192.0.2.1", "[::ffff:192.0.2.127]", "elsewhere.invalid"})
            QVERIFY2(outcome(host) == HttpFailure::none, host);
        QVERIFY(m_standIn.recorded().startsWith("GET http://elsewhere.invalid:9/open HTTP/1.1"));
        QVERIFY(outcome("intranet.invalid") != HttpFailure::none);
    }

private:
    HttpClient boundedTo(std::size_t totalBytes) const {
        HttpOptions options = trusting(m_standIn);
        options.maxTotalBytes = totalBytes;
        return HttpClient(options);
    }

    HttpRequest request(const QString& listener, const QString& path) const {
        return requestTo(m_standIn.address(listener, path));
    }

    HttpAnswer ask(const char* listener, const char* path) {
        return m_client->send(request(listener, path)).result();
    }

    TrackingStandIn m_standIn;
    std::unique_ptr<HttpClient> m_client;
    QElapsedTimer m_clock;
};

QTEST_GUILESS_MAIN(HttpClientTest)
#include "HttpClientTest.moc"
