// Where answers are read, also when the system starts no thread.
#include "tests/support/TrackingStandIn.h"
#include "tracking/TrackingService.h"

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

class AnswerReaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { refusesThreads = false; }

    void withoutThreadsAnswersAreReadAllTheSame() {
        TrackingStandIn standIn;
        QVERIFY(standIn.isReady());
        HttpClient client;
        const TrackingService service(client, {standIn.address("http", "service"), {}, {}, {}});
        for (const bool refuses : {true, false, true}) { // the last finds the thread of the second
            refusesThreads = refuses;
            QList<QFuture<TrackingResult>> results;
            for (const char* number : {"delivered", "huge", "unknown", "reset"})
                results.append(service.fetch(QString::fromLatin1(number)));
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
        QFuture<TrackingResult> result;
        {
            const TrackingService service(client, {});
            result = service.fetch("1");
        }
        held(HttpAnswer());
        QVERIFY(result.isFinished());
        QCOMPARE(result.result().status, TrackingStatus::networkError);
        QCOMPARE(result.result().lastEvent, "Przerwano.");
    }
};

QTEST_GUILESS_MAIN(AnswerReaderTest)
#include "AnswerReaderTest.moc"
