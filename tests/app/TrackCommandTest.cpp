#include "tests/support/RunCommand.h"
#include "tests/support/TrackingStandIn.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <memory>

using namespace kopertal;
using test::CommandResult;

namespace {

/// What is printed for the numbers when no more is known of them.
QString linesOf(const QStringList& numbers, const QString& status) {
    QString lines;
    for (const QString& number : numbers)
        lines += number + u'\t' + status + "\t—\t—\n";
    return lines;
}

} // namespace

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
        const QString unknown = linesOf({"unknown"}, "Nie znaleziono");
        const QString fault = "Usługa śledzenia zgłosiła błąd albo odpowiedziała nie na temat. "
                              "Bez odpowiedzi: ";
        const QStringList faults{"fault", "fault after 0.1", "fault after 0.2", "page",
                                 "empty", "page after 0.1",  "prefix"};
        const struct {
            QStringList numbers;
            QString output, messages;
        } cases[] = {
            {{" (00)delivered\n", "unknown", "noevents"},
             "delivered\tDoręczono\t2025-03-11 11:52" + warsaw + unknown +
                 linesOf({"noevents"}, "Brak zdarzeń"),
             ""},
            {{"relay after 0.5", "unknown"}, // the slow one holds its place
             "relay after 0.5\tW transporcie\t2025-03-11 01:30\t—\n" + unknown,
             ""},
            {{"reset", "fault", "unknown", "cut", "reset"},
             linesOf({"reset"}, "Błąd sieci") + linesOf({"fault"}, "Brak zdarzeń") + unknown +
                 linesOf({"cut", "reset"}, "Błąd sieci"),
             "Błąd sieci: Połączenie z serwerem zostało przerwane. Bez odpowiedzi: reset, cut\n" +
                 fault + "fault\n"},
            {faults, linesOf(faults, "Brak zdarzeń"),
             fault + "fault, fault after 0.1, fault after 0.2, page, empty i jeszcze 2\n"},
            {{"latin2"},
             linesOf({"latin2"}, "Błąd"),
             "Błąd: Nie można odczytać odpowiedzi. Bez odpowiedzi: latin2\n"},
            {{"(00)"}, linesOf({"—"}, "—"), "Numer jest pusty.\n"},
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
        const QJsonArray answers = QJsonDocument::fromJson(result.output.toUtf8()).array();
        QCOMPARE(answers.size(), 2);
        QCOMPARE(answers[1]["answered"], false);
        const QJsonValue delivered = answers[0];
        QCOMPARE(delivered["answered"], true);
        QCOMPARE(delivered["masa"], "0.05");
        QCOMPARE(delivered["zakonczonoObsluge"], true);
        QCOMPARE(delivered["lastPlace"],
                 "Warszawa — UP Warszawa 1\nMarszałkowska 1, 00-001 Warszawa");
        QCOMPARE(delivered["events"].toArray().size(), 7);
        const QJsonValue last = delivered["events"][6];
        QCOMPARE(last["isFinal"], true);
        QCOMPARE(last["place"], "Warszawa — UP Warszawa 1");
        QCOMPARE(last["placeAddress"], "Marszałkowska 1, 00-001 Warszawa");

        const QString tricks = run({"--json", "tricks"}).output;
        QVERIFY(tricks.contains(R"(Do\u202er\u2028\u2029ęczono)"));
        QVERIFY(tricks.contains(R"("code":"\udb40\udc41")"));
        QVERIFY(!tricks.contains(u'\u009b'));
        QCOMPARE(QJsonDocument::fromJson(tricks.toUtf8())[0]["status"],
                 "Do\u202er\u2028\u2029ęczono");
    }

    void wrongUseIsRefused() {
        const std::pair<QString, QString> cases[] = {
            {"", "kopertal track --help"},
            {"--xml 1", "kopertal track --help"},
            {"1 \"$(printf '2\\263')\"", "Argument nie jest zapisany w UTF-8: 2\ufffd\n"}};
        for (const auto& [arguments, message] : cases) {
            const CommandResult result = runInShell(KOPERTAL_PROGRAM " track " + arguments);
            QCOMPARE(result.exitCode, 2);
            QCOMPARE(result.output, "");
            QVERIFY2(result.messages.contains(message), qPrintable(result.messages));
        }
    }

private:
    CommandResult run(const QStringList& arguments) {
        return runProgram(KOPERTAL_PROGRAM, QStringList{"track"} + arguments);
    }

    CommandResult runInShell(const QString& script) { return runProgram("sh", {"-c", script}); }

    CommandResult runProgram(const QString& name, const QStringList& arguments) {
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
