#include "tests/scan/RunningServer.h"

#include <QElapsedTimer>
#include <QProcess>

using namespace kopertal;
using namespace kopertal::test;
using namespace std::chrono_literals;

class ScanServerLifetimeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startsOnAFreePort() {
        ScanServer server;
        QCOMPARE(server.port(), std::uint16_t(0));
        server.stop(); // nothing yet to stop
        QElapsedTimer clock;
        clock.start();
        server.start();
        QVERIFY(clock.elapsed() >= 150);
        QVERIFY(server.port() != 0);
        QCOMPARE(RawClient::ask(server.port(), "GET /ping\r\n\r\n"), probe);
        RawClient sixth(server.port(), RawClient::Family::v6);
        if (!sixth.isOpen())
            QSKIP("no IPv6 here");
        sixth.send("GET /ping\r\n\r\n");
        QCOMPARE(sixth.readAll().value_or(""), probe);
    }

    void takesTheFixedPortOrStaysSilent() {
        RunningServer first;
        ScanServer second;
        second.start(first.port); // busy
        QCOMPARE(second.port(), std::uint16_t(0));
        first.server->stop();
        second.start(first.port);
        QCOMPARE(second.port(), first.port);
        QCOMPARE(RawClient::ask(second.port(), "GET /ping\r\n\r\n"), probe);
        try {
            second.start(0);
            QFAIL("accepted port 0");
        } catch (const ScanServerError& error) {
            QCOMPARE(error.what(), "Invalid port: 0");
            QCOMPARE(ScanServerError::domain, "ScanServer");
            QCOMPARE(error.code, 1);
        }
    }

    void aSecondStartReplacesTheListener() {
        RunningServer s;
        s.server->start();
        QVERIFY(s.server->port() != s.port);
        QVERIFY(!RawClient(s.port).isOpen());
        QCOMPARE(RawClient::ask(s.server->port(), "GET /ping\r\n\r\n"), probe);
    }

    void stopLeavesAcceptedConnectionsAlone() {
        RunningServer s;
        RawClient client(s.port);
        client.send(uploadHead(4) + "ab");
        letItRead();
        s.server->stop();
        QVERIFY(!RawClient(s.port).isOpen());
        QCOMPARE(s.server->port(), s.port);
        client.send("cd");
        QCOMPARE(client.readAll().value_or(""), accepted);
        QVERIFY(s.waitForPhotos(1));
    }

    void startedProgramsInheritNoConnection() {
        RunningServer s;
        RawClient client(s.port);
        client.send(uploadHead(4) + "ab");
        letItRead();
        QProcess child;
        child.start("sleep", {"600"});
        QVERIFY(child.waitForStarted());
        s.server.reset();
        QCOMPARE(client.readAll(5s), std::optional<std::string>("")); // nobody else has it
        QVERIFY(!RawClient(s.port).isOpen());
        QCOMPARE(child.state(), QProcess::Running);
        child.kill();
        QVERIFY(child.waitForFinished());
    }

    void aDroppedServerDeliversNothing() {
        RunningServer s;
        RawClient unfinished(s.port);
        unfinished.send(uploadHead(4) + "ab");
        RawClient finished(s.port);
        finished.send(upload("ab"));
        QCOMPARE(finished.readAll(300ms).value_or(""), accepted); // handed over, not yet received
        s.server.reset();
        QCOMPARE(unfinished.readAll(1s), std::optional<std::string>(""));
        QTest::qWait(100);
        QVERIFY(s.photos.empty());
    }
};

QTEST_GUILESS_MAIN(ScanServerLifetimeTest)
#include "ScanServerLifetimeTest.moc"
