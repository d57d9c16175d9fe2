// What the system refuses: memory and descriptors.
#include "net/DescriptorLimit.h"
#include "tests/support/HttpRequests.h"

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <cstdlib>
#include <new>
#include <sys/resource.h>
#include <unistd.h>

using namespace kopertal;
using namespace std::chrono_literals;

namespace {

constexpr int never = -1;
std::atomic<int> allocationsLeft = never; // of the other threads, until one fails

bool isRefused() {
    return allocationsLeft != never && getpid() != gettid() && allocationsLeft-- == 0;
}

} // namespace

void* operator new(std::size_t size) {
    void* const memory = isRefused() ? nullptr : std::malloc(size ? size : 1);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return isRefused() ? nullptr : std::malloc(size ? size : 1);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

/// In the order of its functions: a lowered limit of descriptors does not come back.
class HttpShortagesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_standIn.isReady()); }

    void anAllocationThatFailsEndsOneRequestAtMost() {
        for (const char* listener : {"http", "http2"}) {
            HttpRequest request = askFor("open", listener);
            request.body = "no number";
            request.bodyHeaders = {"Content-Type: text/xml"};
            bool wasRefused = true;
            int failed = 0;
            for (int n = 0; wasRefused; ++n) {
                HttpClient client(trusting(m_standIn));
                allocationsLeft = n;
                int without = 0;
                for (QFuture<HttpAnswer>& answer : sendMany(client, request, 3))
                    without += hasFailed(answer);
                wasRefused = allocationsLeft.exchange(never) < 0;
                QVERIFY(without <= 1);
                failed += without;
                QCOMPARE(client.send(request).result().failure, HttpFailure::none);
            }
            QVERIFY2(failed > 10, qPrintable(QString::number(failed)));
        }
    }

    void requestsBeyondTheDescriptorsWaitWithoutSpendingTheirTime() {
        limitDescriptors(40, 200);
        HttpClient client;
        QVERIFY(freeDescriptors() > 40); // raised
        HttpRequest request = askFor("open%20after%200.5");
        request.timeout = 2'500ms;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(areAllAnswered(client, request, 800));
        QVERIFY2(clock.elapsed() > 3'000, "they did not have to wait: nothing is shown");
    }

    void aDescriptorTakenByOthersIsWaitedFor() {
        HttpClient client;
        HttpClient late;
        const HttpRequest request = askFor("open%20after%200.3");
        QVERIFY(areAllAnswered(client, request, 1));
        leaveDescriptors(4);
        QVERIFY(areAllAnswered(client, request, 30));
        leaveDescriptors(0);
        QCOMPARE(late.send(request).result().failure, HttpFailure::noDescriptor);
        limitDescriptors(200, 200);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(areAllAnswered(client, request, 120));
        QVERIFY2(clock.elapsed() < 3'000, "as few at a time as in the shortage");
        QVERIFY(areAllAnswered(late, request, 1));
    }

private:
    HttpRequest askFor(const char* path, const char* listener = "http") const {
        return requestTo(m_standIn.address(listener, path));
    }

    static bool hasFailed(QFuture<HttpAnswer>& answer) {
        try {
            answer.waitForFinished(); // result() misses an exception that comes while it waits
            return answer.result().failure != HttpFailure::none;
        } catch (const std::bad_alloc&) {
            return true;
        }
    }

    static void limitDescriptors(rlim_t now, rlim_t most) {
        const rlimit limit{now, most};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
    }

    /// As if others had opened files.
    static void leaveDescriptors(rlim_t count) {
        limitDescriptors(200, 200);
        const int lowest = ::dup(0);
        ::close(lowest);
        limitDescriptors(static_cast<rlim_t>(lowest) + count, 200);
    }

    static bool areAllAnswered(HttpClient& client, const HttpRequest& request, int count) {
        return countOf(HttpFailure::none, sendMany(client, request, count)) == count;
    }

    TrackingStandIn m_standIn;
};

QTEST_GUILESS_MAIN(HttpShortagesTest)
#include "HttpShortagesTest.moc"
