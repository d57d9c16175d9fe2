#include "tracking/TrackingService.h"

#include "tests/support/HttpRequests.h"

#include <QTest>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>
#include <thread>
#include <utility>

using namespace kopertal;

namespace {

std::atomic<bool> refusesThreads = false;

/// Leaves the completion of its last request to `held`.
class HeldCarrier : public HttpCarrier {
public:
    explicit HeldCarrier(Completion& held) : m_held(held) {}
    void send(HttpRequest, Completion completion) override { m_held = std::move(completion); }

private:
    Completion& m_held;
};

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
        const std::pair<QString, QString> cases[] = {
            {" (00)00990011223344556677\n", "00990011223344556677"},
            {"1</sled:numer><sled:numer a=\"b\">&lt;<!-- ]]>&b;", {}}, // as they are
            {"%1%2%3\\n$0", {}},
            {"zażółć \U0001F4E6", {}},
            {QString(2'000'000, u'9'), {}}};
        for (const auto& [number, sent] : cases) {
            service.fetch(number).waitForFinished();
            const QByteArray body = envelopeOf(sent.isEmpty() ? number : sent);
            const QString expected = "POST /service HTTP/1.1\r\n"
                                     "Host: " +
                                     m_standIn.address("http").section(u'/', 2, 2) +
                                     "\r\n"
                                     "User-Agent: Test/1\r\n"
                                     "Accept: */*\r\n"
                                     "Accept-Encoding: gzip, deflate\r\n"
                                     "Content-Type: text/xml; charset=utf-8\r\n"
                                     "SOAPAction: \"\"\r\n"
                                     "Content-Length: " +
                                     QString::number(body.size()) + "\r\n\r\n" + body;
            QVERIFY2(m_standIn.recorded() == expected.toUtf8(), m_standIn.recorded().left(2'000));
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

    void whoBringsAnAnswerDoesNotReadIt() {
        for (const bool refuses : {false, true}) {
            refusesThreads = refuses;
            HttpCarrier::Completion held;
            HttpClient client(std::make_unique<HeldCarrier>(held));
            const TrackingService service(client, {});
            std::atomic<std::thread::id> reader;
            const auto read =
                service.fetch("1").then(QtFuture::Launch::Sync, [&](const TrackingResult&) {
                    reader = std::this_thread::get_id();
                });
            held(HttpAnswer());
            QTRY_VERIFY(read.isFinished());
            QCOMPARE(reader == std::this_thread::get_id(), refuses);
        }
    }

    void whatIsNotReadWhenTheServiceGoesIsCancelled() {
        HttpCarrier::Completion held;
        HttpClient client(std::make_unique<HeldCarrier>(held));
        const QFuture<TrackingResult> result = TrackingService(client, {}).fetch("1");
        held(HttpAnswer());
        QVERIFY(result.isFinished());
        QCOMPARE(result.result().status, TrackingStatus::networkError);
        QCOMPARE(result.result().lastEvent, "Przerwano.");
    }

private:
    TrackingAccess access() const {
        return {m_standIn.address("http", "service"), "http://stand-in.test/?a&b", "guest",
                "secret"};
    }

    static QByteArray envelopeOf(const QString& number) {
        return QStringLiteral(R"(<?xml version="1.0" encoding="UTF-8"?>
<soapenv:Envelope xmlns:soapenv="http://schemas.xmlsoap.org/soap/envelope/"
                  xmlns:sled="http://stand-in.test/?a&amp;b">
  <soapenv:Header>
    <wsse:Security xmlns:wsse="%1wssecurity-secext-1.0.xsd"
                   soapenv:mustUnderstand="1">
      <wsse:UsernameToken>
        <wsse:Username>guest</wsse:Username>
        <wsse:Password Type="%1username-token-profile-1.0#PasswordText">secret</wsse:Password>
      </wsse:UsernameToken>
    </wsse:Security>
  </soapenv:Header>
  <soapenv:Body>
    <sled:sprawdzPrzesylkePl>
      <sled:numer>%2</sled:numer>
    </sled:sprawdzPrzesylkePl>
  </soapenv:Body>
</soapenv:Envelope>)")
            .arg("http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-", number)
            .toUtf8();
    }

    TrackingStandIn m_standIn;
};

QTEST_GUILESS_MAIN(TrackingServiceTest)
#include "TrackingServiceTest.moc"
