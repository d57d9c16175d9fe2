#include "net/DescriptorLimit.h"

#include "tests/support/HttpRequests.h"

#include <QElapsedTimer>
#include <QTest>

#include <sys/resource.h>
#include <unistd.h>

using namespace kopertal;
using namespace std::chrono_literals;

// In a process of its own: a lowered limit does not come back.
class DescriptorLimitTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_standIn.isReady()); }
    void init() { m_clock.start(); }

    void requestsBeyondTheDescriptorsWaitWithoutSpendingTheirTime() {
        limitDescriptors(40, 200);
        HttpClient client;
        QVERIFY(freeDescriptors() > 40); // raised
        HttpRequest request = askFor("open%20after%200.5");
        request.timeout = 2'500ms;
        QVERIFY(areAllAnswered(client, request, 800));
        QVERIFY2(m_clock.elapsed() > 3'000, "they did not have to wait: nothing is shown");
    }

    void aDescriptorTakenByOthersIsWaitedFor() {
        HttpClient client;
        const HttpRequest request = askFor("open%20after%200.3");
        QVERIFY(areAllAnswered(client, request, 1));
        leaveDescriptors(4);
        QVERIFY(areAllAnswered(client, request, 30));
        limitDescriptors(200, 200);
        m_clock.start();
        QVERIFY(areAllAnswered(client, request, 120));
        QVERIFY2(m_clock.elapsed() < 3'000, "as few at a time as in the shortage");
    }

    void keptConnectionsGiveWay() {
        HttpClient client;
        HttpClient other;
        QVERIFY(areAllAnswered(client, askFor("open"), 1));
        leaveDescriptors(0);
        const HttpRequest elsewhere =
            requestTo(m_standIn.address("http", "open").replace("localhost", "127.0.0.1"));
        QVERIFY(areAllAnswered(client, elsewhere, 1));
        QCOMPARE(other.send(elsewhere).result().failure, HttpFailure::noDescriptor);
        limitDescriptors(200, 200);
        QVERIFY(areAllAnswered(other, elsewhere, 1));
    }

    void ofFewDescriptorsNotAllAreReserved() {
        limitDescriptors(64, 64);
        HttpClient client;
        QVERIFY(areAllAnswered(client, askFor("open%20after%200.3"), 30));
        QVERIFY2(m_clock.elapsed() < 4'500, "they were asked for one after the other");
        QVERIFY(spareDescriptors() < freeDescriptors());
    }

private:
    HttpRequest askFor(const char* path) const {
        return requestTo(m_standIn.address("http", path));
    }

    static void limitDescriptors(rlim_t now, rlim_t most) {
        const rlimit limit{now, most};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
    }

    /// As if others had opened files.
    static void leaveDescriptors(rlim_t count) {
        const int lowest = ::dup(0);
        ::close(lowest);
        limitDescriptors(static_cast<rlim_t>(lowest) + count, 200);
    }

    static bool areAllAnswered(HttpClient& client, const HttpRequest& request, int count) {
        return countOf(HttpFailure::none, sendMany(client, request, count)) == count;
    }

    TrackingStandIn m_standIn;
    QElapsedTimer m_clock;
};

QTEST_GUILESS_MAIN(DescriptorLimitTest)
#include "DescriptorLimitTest.moc"
