// What the system refuses: memory, and the watching of descriptors.
#include "tests/support/HttpRequests.h"

#include <QTest>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace kopertal;

namespace {

constexpr int never = -1;
std::atomic<int> allocationsLeft = never; // of the other threads, until one fails
std::atomic<bool> refusesToWatch = false;

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

extern "C" int epoll_ctl(int epoll, int operation, int descriptor, epoll_event* event) noexcept {
    if (refusesToWatch && operation != EPOLL_CTL_DEL) {
        errno = ENOSPC;
        return -1;
    }
    return static_cast<int>(syscall(SYS_epoll_ctl, epoll, operation, descriptor, event));
}

class HttpFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_standIn.isReady()); }

    void anAllocationThatFailsEndsOneRequestAtMost() {
        for (const char* listener : {"http", "http2"}) {
            bool wasRefused = true;
            int failed = 0;
            for (int n = 0; wasRefused; ++n) {
                HttpClient client(trusting(m_standIn));
                allocationsLeft = n;
                int without = 0;
                for (QFuture<HttpAnswer>& answer : sendMany(client, request(listener), 3))
                    without += hasFailed(answer);
                wasRefused = allocationsLeft.exchange(never) < 0;
                QVERIFY(without <= 1);
                failed += without;
                QCOMPARE(client.send(request(listener)).result().failure, HttpFailure::none);
            }
            QVERIFY2(failed > 10, qPrintable(QString::number(failed)));
        }
    }

    void aDescriptorThatCannotBeWatchedFailsTheRequest() {
        HttpClient client;
        refusesToWatch = true;
        const HttpAnswer answer = client.send(request("http")).result();
        refusesToWatch = false;
        QCOMPARE(answer.failure, HttpFailure::other); // at once, not timedOut
        QVERIFY(!failureText(answer).isEmpty());
        QCOMPARE(client.send(request("http")).result().failure, HttpFailure::none);
    }

private:
    HttpRequest request(const QString& listener) const {
        HttpRequest result = requestTo(m_standIn.address(listener, "open"));
        result.body = "no number";
        result.bodyHeaders = {"Content-Type: text/xml"};
        return result;
    }

    static bool hasFailed(QFuture<HttpAnswer>& answer) {
        try {
            answer.waitForFinished(); // result() misses an exception that comes while it waits
            return answer.result().failure != HttpFailure::none;
        } catch (const std::bad_alloc&) {
            return true;
        }
    }

    TrackingStandIn m_standIn;
};

QTEST_GUILESS_MAIN(HttpFaultsTest)
#include "HttpFaultsTest.moc"
