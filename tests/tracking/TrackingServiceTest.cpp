#include "tracking/TrackingService.h"

#include "tests/support/Files.h"
#include "tests/support/HttpRequests.h"

#include <QTest>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>

using namespace kopertal;

namespace {

std::atomic<bool> refusesThreads = false;

} // namespace

extern "C" [[gnu::visibility("default")]] int pthread_create(pthread_t* thread,
                                                             const pthread_attr_t* attributes,
                                                             void* (*run)(void*),
                                                             void* argument) noexcept {
    static const auto create =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return refusesThreads ? EAGAIN : create(thread, attributes, run, argument);
}

class TrackingServiceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_standIn.isReady()); }
    void cleanup() { refusesThreads = false; }

    void theRequestOnTheWire() {
        HttpOptions options;
        options.userAgent = "Test/1";
        HttpClient client(options);
        const TrackingService service(client, access());
        const QByteArray envelope =
            test::contentsOf(KOPERTAL_SOURCE_DIR "/tests/tracking/envelope.xml").trimmed();
        for (const QString& number : {QString("00990011223344556677"), QString("zażółć \U0001F4E6"),
                                      QString("1</sled:numer><sled:numer a=\"b\">&lt;<!-- ]]>&b;"),
                                      QString("%1%2%3\\n$0"), QString(2'000'000, u'9')}) {
            service.fetch(" (00)" + number + '\n').waitForFinished();
            const QByteArray body = QByteArray(envelope).replace("NUMBER", number.toUtf8());
            const QStringList head{"POST /service HTTP/1.1",
                                   "Host: " + m_standIn.address("http").section(u'/', 2, 2),
                                   "User-Agent: Test/1",
                                   "Accept: */*",
                                   "Accept-Encoding: gzip, deflate",
                                   "Content-Type: text/xml; charset=utf-8",
                                   "SOAPAction: \"\"",
                                   "Content-Length: " + QString::number(body.size())};
            const QByteArray expected = head.join("\r\n").toUtf8() + "\r\n\r\n" + body;
            QVERIFY2(m_standIn.recorded() == expected, m_standIn.recorded().left(2'000));
        }
    }

    void longHistoriesAreShortened() {
        HttpOptions bounded;
        bounded.maxTotalBytes = 40'000'000; // for two at a time
        HttpClient client(bounded);
        const TrackingService service(client, access());
        QList<QFuture<TrackingResult>> results;
        for (int i = 0; i < 5; ++i) {
            results.append(service.fetch("flood"));
            QCOMPARE(results.last().result().events.size(), 200);
        }
    }

    void withoutThreadsAnswersAreReadAllTheSame() {
        HttpClient client;
        const TrackingService service(client, access());
        for (const bool refuses : {true, false, true}) { // the last finds the thread of the second
            refusesThreads = refuses;
            QList<QFuture<TrackingResult>> results;
            for (const char* number : {"delivered", "huge", "unknown", "reset"})
                results.append(service.fetch(number));
            for (const QFuture<TrackingResult>& result : results)
                QTRY_VERIFY(result.isFinished());
            QCOMPARE(results[0].result().status, "Doręczono");
            QVERIFY(results[1].result().events.size() > 10'000);
            QCOMPARE(results[2].result().status, TrackingStatus::notFound);
            QCOMPARE(results[3].result().status, TrackingStatus::networkError);
        }
    }

    void whatIsNotReadWhenTheServiceGoesIsCancelled() {
        HttpClient client;
        const auto result = TrackingService(client, access()).fetch("open after 0.2");
        QVERIFY(!result.isFinished());
        QCOMPARE(result.result().status, TrackingStatus::networkError);
        QCOMPARE(result.result().lastEvent, "Przerwano.");
    }

private:
    TrackingAccess access() const {
        return {m_standIn.address("http", "service"), "http://stand-in.test/?a&b", "guest",
                "secret"};
    }

    TrackingStandIn m_standIn;
};

QTEST_GUILESS_MAIN(TrackingServiceTest)
#include "TrackingServiceTest.moc"
