#include "net/HttpClient.h"

#include "net/ProxyExceptions.h"
#include "tests/support/TrackingStandIn.h"

#include <QElapsedTimer>
#include <QTest>

#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>

using namespace kopertal;
using namespace std::chrono_literals;

namespace {

/// The process's connections that the kernel asks after and gives up when nobody answers.
int watchedConnections() {
    int count = 0;
    for (int fd = 3; fd < 256; ++fd) {
        int keepAlive = 0;
        unsigned int userTimeout = 0;
        socklen_t size = sizeof keepAlive;
        if (getsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &keepAlive, &size) == 0 && keepAlive &&
            getsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &userTimeout, &size) == 0)
            count += userTimeout > 0 && userTimeout < 20'000;
    }
    return count;
}

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
        m_standIn = std::make_unique<TrackingStandIn>();
        QVERIFY(m_standIn->isReady());
    }

    void init() {
        m_client = std::make_unique<HttpClient>(options());
        m_clock.start();
    }

    void cleanup() {
        qunsetenv("http_proxy");
        qunsetenv("no_proxy");
    }

    void misbehavingServersFail_data() {
        QTest::addColumn<QString>("listener");
        QTest::addColumn<QString>("path");
        QTest::addColumn<HttpFailure>("failure");
        const auto rows = [](const char* listener, HttpFailure failure, const QStringList& paths) {
            for (const QString& path : paths)
                QTest::addRow("%s %s", listener, qPrintable(path)) << listener << path << failure;
        };
        for (const char* listener : {"http", "https"}) {
            rows(listener, HttpFailure::timedOut, {"silent", "half", "drip"});
            rows(listener, HttpFailure::connectionLost, {"cut", "close", "reset"});
            rows(listener, HttpFailure::tooLarge, {"endless", "headers", "bomb"});
            rows(listener, HttpFailure::tooManyRedirects, {"loop"});
            rows(listener, HttpFailure::unusableRedirect, {"elsewhere", "nowhere"});
            rows(listener, HttpFailure::malformedAnswer, {"garbage", "badzip"});
        }
        rows("http2", HttpFailure::timedOut, {"silent after 5"});
        rows("http2", HttpFailure::connectionLost, {"reset"});
        rows("https", HttpFailure::insecureRedirect, {"downgrade"});
        rows("otherHost", HttpFailure::certificateForOtherHost, {"open"});
        rows("expired", HttpFailure::certificateExpired, {"open"});
        rows("stranger", HttpFailure::certificateUntrusted, {"open"});
    }

    void misbehavingServersFail() {
        QFETCH(QString, listener);
        QFETCH(QString, path);
        QFETCH(HttpFailure, failure);
        const qint64 memoryBefore = peakMemory();
        HttpRequest request = this->request(listener, path.replace(u' ', QStringLiteral("%20")));
        request.timeout = failure == HttpFailure::timedOut ? 600ms : 20'000ms;
        const HttpAnswer answer = m_client->send(request).result();
        QCOMPARE(answer.failure, failure);
        QVERIFY(answer.text().empty());
        QVERIFY(!failureText(answer).isEmpty());
        QVERIFY(!failureText(answer).contains(QString::fromStdString(answer.detail))); // English
        if (failure == HttpFailure::timedOut)
            QVERIFY2(m_clock.elapsed() >= 550, qPrintable(QString::number(m_clock.elapsed())));
        QVERIFY(m_clock.elapsed() < 5'000);
        QVERIFY(peakMemory() - memoryBefore < 64'000'000);
    }

    void unreachableServersFail() {
        const std::pair<QString, HttpFailure> cases[] = {
            {"http://127.0.0.1:9/", HttpFailure::connectionFailed},
            {"https://127.0.0.1:9/", HttpFailure::connectionFailed},
            {"http://no-such-host.invalid/", HttpFailure::hostNotFound},
            {"", HttpFailure::invalidAddress},
            {"http://[1", HttpFailure::invalidAddress},
            {"localhost:1/service", HttpFailure::unsupportedAddress},
            {"file:///etc/passwd", HttpFailure::unsupportedAddress},
            {m_standIn->address("greeter"), HttpFailure::tlsFailed}};
        for (const auto& [address, failure] : cases) {
            HttpRequest request;
            request.url = address.toStdString();
            const HttpAnswer answer = m_client->send(request).result();
            QVERIFY2(answer.failure == failure, qPrintable(address));
            QCOMPARE(failureText(answer).contains(QString::fromStdString(answer.detail)),
                     failure == HttpFailure::tlsFailed); // where it says more than we can
        }
    }

    void answersOfEveryStatusAreAnswers() {
        const HttpAnswer fault = ask("http", "fault");
        QCOMPARE(fault.failure, HttpFailure::none);
        QCOMPARE(fault.status, 500);
        QVERIFY(fault.text().find("security processing failed") != std::string::npos);
        QCOMPARE(ask("https", "empty").text(), std::string());
        QCOMPARE(ask("http2", "huge").text().size(), ask("http", "huge").text().size());
        QVERIFY(ask("http", "huge").text().size() > 9'000'000);
        QCOMPARE(ask("http", "zipped").text(), ask("http", "delivered").text());
    }

    void redirectsAreFollowedAsByBrowsers() {
        HttpRequest request = this->request("http", "service");
        request.bodyHeaders = {"Content-Type: text/xml", "SOAPAction: \"\""};
        request.body = "<sled:numer>moved307</sled:numer>";
        QCOMPARE(m_client->send(request).result().text(), ask("http", "pickedup").text());
        m_client->send(request).result();
        QVERIFY(m_standIn->recorded().startsWith("POST /whatever"));
        QVERIFY(m_standIn->recorded().contains("\r\nSOAPAction: \"\"\r\n"));
        QVERIFY(m_standIn->recorded().endsWith("\r\n\r\n<sled:numer>moved307</sled:numer>"));

        request.body = "<sled:numer>moved302</sled:numer>";
        QCOMPARE(m_client->send(request).result().text(), ask("http", "open").text());
        m_client->send(request).result();
        QVERIFY(m_standIn->recorded().startsWith("GET /open"));
        QVERIFY(!m_standIn->recorded().contains("Content-Type"));
        QVERIFY(!m_standIn->recorded().contains("SOAPAction"));
        QVERIFY(m_standIn->recorded().endsWith("\r\n\r\n"));
    }

    void thereIsNoLimitPerHost() {
        // HTTP/2 shares connections.
        for (const auto& [listener, mostConnections] : {std::pair{"http", 300}, {"http2", 4}}) {
            const int before = connections();
            QList<QFuture<HttpAnswer>> answers;
            m_clock.start();
            for (int i = 0; i < 300; ++i)
                answers.append(m_client->send(request(listener, "open%20after%201")));
            for (QFuture<HttpAnswer>& answer : answers)
                QCOMPARE(answer.result().failure, HttpFailure::none);
            QVERIFY2(m_clock.elapsed() < 10'000, qPrintable(QString::number(m_clock.elapsed())));
            const int used = connections() - before - 1; // the question itself
            QVERIFY2(used <= mostConnections, qPrintable(QString::number(used)));
        }
    }

    void aConnectionThatHangsHoldsUpNoOtherToItsServer() {
        HttpRequest hesitating = request("hesitant", "open");
        hesitating.timeout = 4'000ms;
        QList<QFuture<HttpAnswer>> answers;
        for (int i = 0; i < 20; ++i)
            answers.append(m_client->send(hesitating));
        for (qsizetype i = 1; i < answers.size(); ++i)
            QCOMPARE(answers[i].result().failure, HttpFailure::none);
        QVERIFY(m_clock.elapsed() < 3'000);
        QCOMPARE(answers[0].result().failure, HttpFailure::timedOut);
    }

    void aServerThatHangsBeforeItIsConnectedHoldsUpNobody() {
        HttpRequest hanging = request("http", "open"); // which waits for a request, not for TLS
        hanging.url.insert(4, "s");
        hanging.timeout = 1'500ms;
        QList<QFuture<HttpAnswer>> answers;
        for (int i = 0; i < 20; ++i)
            answers.append(m_client->send(hanging));
        QCOMPARE(ask("https", "open").failure, HttpFailure::none);
        QVERIFY(m_clock.elapsed() < 1'000);
        for (QFuture<HttpAnswer>& answer : answers)
            QCOMPARE(answer.result().failure, HttpFailure::timedOut);
        QVERIFY(m_clock.elapsed() < 5'000); // not one after the other
    }

    void connectionsAreReused() {
        ask("https", "open");
        QCOMPARE(watchedConnections(), 0);
        const int before = connections();
        for (int i = 0; i < 5; ++i) // late enough to be waited for
            QCOMPARE(ask("https", "open%20after%200.05").failure, HttpFailure::none);
        QCOMPARE(connections(), before + 1);
        QCOMPARE(watchedConnections(), 1);
    }

    void answersUnderWayShareOneBound() {
        HttpOptions bounded = options();
        bounded.maxTotalBytes = 25'000'000; // two and a half
        HttpClient client(bounded);
        QList<QFuture<HttpAnswer>> answers;
        for (int i = 0; i < 12; ++i)
            answers.append(client.send(request("http", "huge")));
        int refused = 0;
        for (QFuture<HttpAnswer>& answer : answers) {
            const HttpFailure failure = answer.result().failure;
            QVERIFY(failure == HttpFailure::none || failure == HttpFailure::tooLarge);
            refused += failure == HttpFailure::tooLarge;
        }
        QVERIFY(refused > 0);
        QVERIFY(refused < answers.size());
        // What nobody has read yet counts; what was refused or let go of does not.
        QCOMPARE(client.send(request("http", "huge")).result().failure, HttpFailure::tooLarge);
        answers.clear();
        QCOMPARE(client.send(request("http", "huge")).result().failure, HttpFailure::none);
    }

    void largeAnswersLeaveRoomForOrdinaryOnes() {
        HttpOptions bounded = options();
        bounded.maxTotalBytes = 1'000'000;
        HttpClient client(bounded);
        QList<QFuture<HttpAnswer>> large;
        QList<QFuture<HttpAnswer>> ordinary;
        for (int i = 0; i < 40; ++i) {
            for (const char* path : {"bomb", "endless", "huge"})
                large.append(client.send(request("http", path)));
            for (const char* path : {"delivered", "zipped"})
                ordinary.append(client.send(request("http", path)));
        }
        for (QFuture<HttpAnswer>& answer : large)
            QCOMPARE(answer.result().failure, HttpFailure::tooLarge);
        for (QFuture<HttpAnswer>& answer : ordinary)
            QCOMPARE(answer.result().failure, HttpFailure::none);
    }

    void withoutRoomOrdinaryAnswersAreReceived() {
        HttpOptions bounded = options();
        bounded.maxTotalBytes = 0;
        HttpClient client(bounded);
        for (const char* listener : {"http", "https", "http2"})
            QCOMPARE(client.send(request(listener, "delivered")).result().failure,
                     HttpFailure::none);
        QCOMPARE(client.send(request("http", "zipped")).result().failure, HttpFailure::none);
        QCOMPARE(client.send(request("http", "huge")).result().failure, HttpFailure::tooLarge);
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

        const auto some = std::make_shared<ByteBudget>(ReceivedBody::uncounted);
        for (int i = 0; i < 3; ++i) { // given back, and no more than was taken
            ReceivedBody larger(some, 10 * ReceivedBody::uncounted);
            for (int k = 0; k < 4; ++k)
                QVERIFY(larger.append(half.data(), half.size()));
            QVERIFY(!larger.append(half.data(), 1));
        }
    }

    void destructionCancelsWhatIsLeft() {
        QList<QFuture<HttpAnswer>> answers;
        for (int i = 0; i < 50; ++i)
            answers.append(m_client->send(request(i % 2 ? "https" : "http", "silent")));
        HttpRequest unresolved;
        unresolved.url = "http://no-such-host.invalid/";
        m_client->send(unresolved);
        QTest::qWait(100);
        m_clock.start();
        m_client.reset();
        QVERIFY(m_clock.elapsed() < 1'000);
        for (QFuture<HttpAnswer>& answer : answers) {
            QVERIFY(answer.isFinished());
            QCOMPARE(answer.result().failure, HttpFailure::cancelled);
        }
    }

    void proxiesAreHonouredButNeverForLoopback() {
        qputenv("http_proxy", m_standIn->address(QStringLiteral("http")).toUtf8());
        HttpRequest outside;
        outside.url = "http://elsewhere.invalid/pickedup";
        QCOMPARE(m_client->send(outside).result().failure, HttpFailure::none);
        QVERIFY(m_standIn->recorded().startsWith("GET http://elsewhere.invalid/pickedup HTTP/1.1"));

        qputenv("http_proxy", "http://127.0.0.1:9");
        QCOMPARE(m_client->send(outside).result().failure, HttpFailure::connectionFailed);
        QCOMPARE(ask("http", "open").failure, HttpFailure::none);
    }

    void noProxyIsAskedForThisMachine_data() {
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("isThisMachine");
        for (const char* host :
             {"localhost", "LOCALHOST", "127.0.0.1", "127.1", "127.9.9.9", "0.0.0.0", "0", "[::1]",
              "[0:0:0:0:0:0:0:1]", "[::1%25lo]", "[::]", "[0::0]", "[::ffff:127.0.0.1]",
              "[::ffff:7f00:1]", "[::FFFF:7F09:909]", "[::ffff:0.0.0.0]"})
            QTest::newRow(host) << host << true;
        for (const char* host : {"192.0.2.1", "elsewhere.invalid", "[2001:db8::1]",
                                 "[::ffff:192.0.2.127]", "[::ffff:c000:27f]"})
            QTest::newRow(host) << host << false;
    }

    void noProxyIsAskedForThisMachine() {
        QFETCH(QString, host);
        QFETCH(bool, isThisMachine);
        qputenv("http_proxy", m_standIn->address(QStringLiteral("http")).toUtf8());
        HttpRequest request;
        request.url = QStringLiteral("http://%1:9/open").arg(host).toStdString();
        QCOMPARE(m_client->send(request).result().failure,
                 isThisMachine ? HttpFailure::connectionFailed : HttpFailure::none);
    }

    void exceptionsOfTheEnvironmentAreKept() {
        const std::string own = "http://[::ffff:7f00:1]/";
        const std::string loopback = ProxyExceptions().forRequestTo(own);
        qputenv("no_proxy", "intranet.example");
        QCOMPARE(ProxyExceptions().forRequestTo(own), "intranet.example," + loopback);
        qputenv("no_proxy", "*");
        QCOMPARE(ProxyExceptions().forRequestTo(own), std::string("*"));
    }

private:
    int connections() const { return m_standIn->statistics().value("connections").toInt(); }

    HttpOptions options() const {
        HttpOptions result;
        result.authorityFile = m_standIn->authority().toStdString();
        return result;
    }

    HttpRequest request(const QString& listener, const QString& path) const {
        HttpRequest result;
        result.url = m_standIn->address(listener, path).toStdString();
        return result;
    }

    HttpAnswer ask(const char* listener, const char* path) {
        return m_client->send(request(QString::fromLatin1(listener), QString::fromLatin1(path)))
            .result();
    }

    std::unique_ptr<TrackingStandIn> m_standIn;
    std::unique_ptr<HttpClient> m_client;
    QElapsedTimer m_clock;
};

QTEST_GUILESS_MAIN(HttpClientTest)
#include "HttpClientTest.moc"
