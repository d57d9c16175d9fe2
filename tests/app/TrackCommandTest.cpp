#include "tests/support/RunCommand.h"
#include "tests/support/TrackingStandIn.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace kopertal;
using test::CommandResult;

/// The program itself, without a display, against the stand-in over TLS.
class TrackCommandTest : public QObject {
    Q_OBJECT

    TrackingStandIn m_standIn;

    CommandResult run(const QStringList& arguments) const {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("DISPLAY");
        environment.insert("KOPERTAL_TRACKING_ENDPOINT", m_standIn.address("https", "service"));
        environment.insert("SSL_CERT_FILE", m_standIn.authority());
        return test::runCommand(KOPERTAL_PROGRAM, QStringList{"track"} + arguments, {},
                                environment);
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_standIn.isReady()); }

    void printsALineForEachNumber() {
        const QString warsaw = "\tWarszawa — UP Warszawa 1, Marszałkowska 1, 00-001 Warszawa\n";
        const QString unknown = "unknown\tNie znaleziono\t—\t—\n";
        const struct {
            QStringList numbers;
            QString output, messages;
        } cases[] = {
            {{" (00)delivered\n", "unknown", "noevents"},
             "delivered\tDoręczono\t2025-03-11 11:52" + warsaw + unknown +
                 "noevents\tBrak zdarzeń\t—\t—\n",
             ""},
            {{"relay after 0.5", "unknown"}, // the slow one holds its place
             "relay after 0.5\tW transporcie\t2025-03-11 01:30\t—\n" + unknown,
             ""},
            {{"reset", "fault", "unknown", "cut", "reset"},
             "reset\tBłąd sieci\t—\t—\nfault\tBrak zdarzeń\t—\t—\n" + unknown +
                 "cut\tBłąd sieci\t—\t—\nreset\tBłąd sieci\t—\t—\n",
             "Błąd sieci: Połączenie z serwerem zostało przerwane. Bez odpowiedzi: reset, cut\n"
             "Usługa śledzenia zgłosiła błąd albo odpowiedziała nie na temat. "
             "Bez odpowiedzi: fault\n"},
            {{"(00)"}, "—\t—\t—\t—\n", "Numer jest pusty.\n"},
            // What a terminal obeys stays out of the answer.
            {{"tricks"}, "tricks\tDo r  ęczono\t2025-03-11 " + warsaw, ""},
            {{"unknown\u0085\u009b"}, "unknown  \tDoręczono\t2025-03-11 11:52" + warsaw, ""},
            {{"--", "--json"}, "--json\tDoręczono\t2025-03-11 11:52" + warsaw, ""}};
        for (const auto& [numbers, output, messages] : cases) {
            const CommandResult result = run(numbers);
            QCOMPARE(result.output, output);
            QCOMPARE(result.messages, messages);
            QCOMPARE(result.exitCode, messages.isEmpty() ? 0 : 1);
        }
    }

    void printsEverythingAsJson() {
        const CommandResult result = run({"--json", "delivered", "fault"});
        QCOMPARE(result.exitCode, 1);
        const QJsonDocument answers = QJsonDocument::fromJson(result.output.toUtf8());
        QCOMPARE(answers[1]["answered"], false);
        const QJsonValue delivered = answers[0];
        QCOMPARE(delivered["answered"], true);
        QCOMPARE(delivered["masa"], "0.05");
        QCOMPARE(delivered["events"].toArray().size(), 7);
        QCOMPARE(delivered["events"][6]["isFinal"], true);
        QCOMPARE(delivered["events"][6]["place"], "Warszawa — UP Warszawa 1");

        const QString tricks = run({"--json", "tricks"}).output;
        QVERIFY(tricks.contains(R"(Do\u202er\u2028\u2029ęczono)"));
        QVERIFY(tricks.contains(R"("code":"\udb40\udc41")"));
        QVERIFY(!tricks.contains(u'\u009b'));
        QCOMPARE(QJsonDocument::fromJson(tricks.toUtf8())[0]["status"],
                 "Do\u202er\u2028\u2029ęczono");
    }
};

QTEST_GUILESS_MAIN(TrackCommandTest)
#include "TrackCommandTest.moc"
