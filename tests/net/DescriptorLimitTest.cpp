#include "net/DescriptorLimit.h"

#include "net/HttpClient.h"
#include "tests/support/TrackingStandIn.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace kopertal;
using namespace std::chrono_literals;

// In a process of its own: a lowered limit does not come back.
class DescriptorLimitTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void requestsBeyondTheDescriptorsWaitWithoutSpendingTheirTime() {
        TrackingStandIn standIn;
        QVERIFY(standIn.isReady());
        const rlimit few{40, 200};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &few), 0);
        HttpClient client;
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        QCOMPARE(limit.rlim_cur, 200U); // raised
        QVERIFY(spareDescriptors() < 200);

        HttpRequest request;
        request.url = standIn.address(QStringLiteral("http"), QStringLiteral("open%20after%200.5"))
                          .toStdString();
        request.timeout = 2'500ms;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(areAllAnswered(client, request, 800));
        QVERIFY2(clock.elapsed() > 3'000, "they did not have to wait: nothing is shown");
    }

    void aDescriptorTakenByOthersIsWaitedFor() {
        TrackingStandIn standIn;
        QVERIFY(standIn.isReady());
        HttpClient client;
        HttpRequest request;
        request.url = standIn.address(QStringLiteral("http"), QStringLiteral("open%20after%200.3"))
                          .toStdString();
        QCOMPARE(client.send(request).result().failure, HttpFailure::none);
        std::vector<int> taken = allDescriptors();
        for (int i = 0; i < 6; ++i) {
            ::close(taken.back());
            taken.pop_back();
        }
        QVERIFY(areAllAnswered(client, request, 30));
        for (const int fd : taken)
            ::close(fd);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(areAllAnswered(client, request, 60));
        QVERIFY2(clock.elapsed() < 3'000, "as few at a time as in the shortage");
    }

    void keptConnectionsGiveWay() {
        TrackingStandIn standIn;
        QVERIFY(standIn.isReady());
        HttpClient client;
        HttpClient other;
        HttpRequest request;
        request.url = standIn.address("http", "open").toStdString();
        QCOMPARE(client.send(request).result().failure, HttpFailure::none);
        const std::vector<int> taken = allDescriptors();
        request.url =
            standIn.address("http", "open").replace("localhost", "127.0.0.1").toStdString();
        QCOMPARE(client.send(request).result().failure, HttpFailure::none);
        QCOMPARE(other.send(request).result().failure, HttpFailure::noDescriptor);
        for (const int fd : taken)
            ::close(fd);
        QCOMPARE(other.send(request).result().failure, HttpFailure::none);
    }

    void ofFewDescriptorsNotAllAreReserved() {
        TrackingStandIn standIn;
        QVERIFY(standIn.isReady());
        const rlimit few{64, 64};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &few), 0);
        HttpClient client;
        HttpRequest request;
        request.url = standIn.address(QStringLiteral("http"), QStringLiteral("open%20after%200.3"))
                          .toStdString();
        QElapsedTimer clock;
        clock.start();
        QVERIFY(areAllAnswered(client, request, 30));
        QVERIFY2(clock.elapsed() < 4'500, "they were asked for one after the other");
        QVERIFY(spareDescriptors() < freeDescriptors());
    }

private:
    /// So many of one request, sent at once.
    static bool areAllAnswered(HttpClient& client, const HttpRequest& request, int count) {
        QList<QFuture<HttpAnswer>> answers;
        for (int i = 0; i < count; ++i)
            answers.append(client.send(request));
        return std::ranges::all_of(answers, [](const QFuture<HttpAnswer>& answer) {
            return answer.result().failure == HttpFailure::none;
        });
    }

    static std::vector<int> allDescriptors() {
        std::vector<int> taken;
        for (int fd; (fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
            taken.push_back(fd);
        return taken;
    }
};

QTEST_GUILESS_MAIN(DescriptorLimitTest)
#include "DescriptorLimitTest.moc"
