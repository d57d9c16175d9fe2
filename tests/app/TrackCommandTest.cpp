#include "tests/support/RunCommand.h"
#include "tests/support/TrackingStandIn.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <memory>

using namespace kopertal;

using Outcome = test::CommandResult;

/// The program itself, without a display, against the stand-in over TLS.
class TrackCommandTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        m_standIn = std::make_unique<TrackingStandIn>();
        QVERIFY(m_standIn->isReady());
    }

    void printsALineForEachNumber() {
        const QString warsaw = "\tWarszawa — UP Warszawa 1, Marszałkowska 1, 00-001 Warszawa\n";
        const struct {
            QStringList numbers;
            QString output;
            int exitCode = 0;
        } cases[] = {
            {{" (00)delivered\n", "unknown", "relay"},
             "delivered\tDoręczono\t2025-03-11 11:52" + warsaw +
                 "unknown\tNie znaleziono\t—\t—\nrelay\tW transporcie\t2025-03-11 01:30\t—\n"},
            {{"noevents"}, "noevents\tBrak zdarzeń\t—\t—\n"},
            {{"bare"}, "bare\tBrak zdarzeń\t—\t—\n"},
            {{"relay after 0.5", "unknown"}, // the slow one holds its place
             "relay after 0.5\tW transporcie\t2025-03-11 01:30\t—\nunknown\tNie "
             "znaleziono\t—\t—\n"},
            {{"unknown", "reset"}, "unknown\tNie znaleziono\t—\t—\nreset\tBłąd sieci\t—\t—\n", 1},
            {{"fault"}, "fault\tBrak zdarzeń\t—\t—\n", 1},
            {{"page"}, "page\tBrak zdarzeń\t—\t—\n", 1},
            {{"latin2"}, "latin2\tBłąd\t—\t—\n", 1},
            {{"prefix"}, "prefix\tBrak zdarzeń\t—\t—\n", 1},
            {{"empty"}, "empty\tBrak zdarzeń\t—\t—\n", 1},
            {{"(00)"}, "—\t—\t—\t—\n", 1},
            // What a terminal obeys stays out of the answer.
            {{"tricks"}, "tricks\tDo r  ęczono\t2025-03-11 " + warsaw},
            {{"unknown\u0085\u009b"}, "unknown  \tDoręczono\t2025-03-11 11:52" + warsaw},
            {{"--", "--json"}, "--json\tDoręczono\t2025-03-11 11:52" + warsaw}};
        for (const auto& [numbers, output, exitCode] : cases) {
            const Outcome outcome = run(numbers);
            QCOMPARE(outcome.output, output);
            QCOMPARE(outcome.exitCode, exitCode);
            QCOMPARE(!outcome.messages.isEmpty(), exitCode == 1);
        }
    }

    void printsEverythingAsJson() {
        const Outcome outcome = run({"--json", "delivered", "fault"});
        QCOMPARE(outcome.exitCode, 1);
        const QJsonArray answers = QJsonDocument::fromJson(outcome.output.toUtf8()).array();
        QCOMPARE(answers.size(), 2);
        const QJsonObject delivered = answers[0].toObject();
        QCOMPARE(delivered["answered"], true);
        QCOMPARE(delivered["trackingNumber"], "delivered");
        QCOMPARE(delivered["masa"], "0.05");
        QCOMPARE(delivered["zakonczonoObsluge"], true);
        QCOMPARE(delivered["lastPlace"],
                 "Warszawa — UP Warszawa 1\nMarszałkowska 1, 00-001 Warszawa");
        QCOMPARE(delivered["events"].toArray().size(), 7);
        const QJsonObject last = delivered["events"].toArray().last().toObject();
        const QJsonObject expected{{"code", "P_D"},
                                   {"isFinal", true},
                                   {"name", "Doręczono"},
                                   {"place", "Warszawa — UP Warszawa 1"},
                                   {"placeAddress", "Marszałkowska 1, 00-001 Warszawa"},
                                   {"time", "2025-03-11 11:52"}};
        QCOMPARE(last, expected);
        QCOMPARE(answers[1].toObject()["answered"], false);

        const QString tricks = run({"--json", "tricks"}).output;
        QVERIFY(tricks.contains(R"(Do\u202er\u2028\u2029ęczono)"));
        QVERIFY(tricks.contains(R"("code":"\udb40\udc41")"));
        QVERIFY(!tricks.contains(u'\u009b'));
        QCOMPARE(QJsonDocument::fromJson(tricks.toUtf8())[0]["status"],
                 "Do\u202er\u2028\u2029ęczono");
    }

    void saysWhyThereIsNoAnswer() {
        const QString lost =
            "Błąd sieci: Połączenie z serwerem zostało przerwane. Bez odpowiedzi: ";
        const QString fault = "Usługa śledzenia zgłosiła błąd albo odpowiedziała nie na temat. "
                              "Bez odpowiedzi: ";
        const std::pair<QStringList, QString> cases[] = {
            {{"reset", "fault", "unknown", "cut", "reset", "page"},
             lost + "reset, cut\n" + fault + "fault, page\n"},
            {{"fault", "fault after 0.1", "fault after 0.2", "page", "empty", "page after 0.1",
              "prefix"},
             fault + "fault, fault after 0.1, fault after 0.2, page, empty i jeszcze 2\n"},
            {{"latin2"}, "Błąd: Nie można odczytać odpowiedzi. Bez odpowiedzi: latin2\n"},
            {{""}, "Numer jest pusty.\n"}};
        for (const auto& [numbers, messages] : cases)
            QCOMPARE(run(numbers).messages, messages);
    }

    void withoutDescriptorsItFailsWithAReason() {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("the sanitizers need descriptors to look at an object's type");
#endif
        for (int limit = 6; limit <= 20; ++limit) {
            const Outcome outcome = runInShell(
                QStringLiteral("ulimit -n %1; exec " KOPERTAL_PROGRAM " track unknown").arg(limit));
            if (limit > 8 && outcome.exitCode == 0)
                continue;
            QCOMPARE(outcome.exitCode, 1);
            QVERIFY2(outcome.messages.contains("otworzyć więcej plików"),
                     qPrintable(outcome.messages));
        }
    }

    void wrongUseIsRefused() {
        for (const QStringList& arguments : {QStringList{}, {"--json"}, {"--xml", "1"}}) {
            const Outcome outcome = run(arguments);
            QCOMPARE(outcome.exitCode, 2);
            QCOMPARE(outcome.output, "");
            QVERIFY(outcome.messages.contains("kopertal track --help"));
        }
    }

    void aNumberThatIsNotUtf8IsRefused() {
        const Outcome outcome =
            runInShell(QStringLiteral(KOPERTAL_PROGRAM " track 1 \"$(printf '2\\263')\""));
        QCOMPARE(outcome.exitCode, 2);
        QCOMPARE(outcome.output, "");
        QVERIFY(outcome.messages.startsWith("Argument nie jest zapisany w UTF-8: 2\ufffd\n"));
    }

private:
    Outcome run(const QStringList& arguments) {
        return runProgram(KOPERTAL_PROGRAM, QStringList{"track"} + arguments);
    }

    Outcome runInShell(const QString& script) {
        return runProgram("sh", {"-c", script});
    }

    Outcome runProgram(const QString& name, const QStringList& arguments) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("DISPLAY");
        environment.insert("KOPERTAL_TRACKING_ENDPOINT", m_standIn->address("https", "service"));
        environment.insert("SSL_CERT_FILE", m_standIn->authority());
        return test::runCommand(name, arguments, {}, environment);
    }

    std::unique_ptr<TrackingStandIn> m_standIn;
};

QTEST_GUILESS_MAIN(TrackCommandTest)
#include "TrackCommandTest.moc"
