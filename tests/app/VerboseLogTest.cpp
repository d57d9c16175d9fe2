#include "tests/support/Files.h"
#include "tests/support/RunCommand.h"
#include "tests/support/TrackingStandIn.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace kopertal::test;

/// What --verbose tells: the course of the work, and nothing of its contents.
class VerboseLogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void commandsTellTheCourse() {
        const kopertal::TrackingStandIn standIn;
        QVERIFY(standIn.isReady());
        qputenv("KOPERTAL_TRACKING_ENDPOINT", standIn.address("http", "service").toLatin1());
        const QTemporaryDir folder;
        const QString number("RR473124829PL");
        const QString photo =
            writeFile(folder.filePath("poufne.jpg"), makeScreenshot({{"Code128", number}}).jpeg);
        const QString addresses =
            writeFile(folder.filePath("poufne.txt"),
                      "Zenobiusz Tajny\nul. Sekretna 17\n00-321 Skrytowo\n\nsamotny\n");
        const std::pair<QStringList, QStringList> cases[] = {
            {{"generate", addresses, "-o", folder.path(), "--sender-name", "Nadawcza"},
             {"module: wczytano moduł generate w \\d+ ms",
              "engine: dokument gotowy: adresatów 1, stron 1; "}},
            {{"track", "delivered", number, "reset"},
             {"http: zapytanie 1 po \\d+ ms: kod 200, bajtów \\d+",
              "http: zapytanie 3 po \\d+ ms: Połączenie z serwerem zostało przerwane\\."}},
            {{"scan", photo}, {"photo: zdjęcie po \\d+ ms: odczytane, kodów 1"}}};
        for (const auto& [arguments, told] : cases) {
            QVERIFY(!run(arguments).contains("kopertal."));
            checkLog(run(arguments + QStringList{"--verbose"}), told);
            checkLog(run(QStringList{"--verbose"} + arguments), told);
        }
        QCOMPARE(run({"track", "--", "--verbose"}), QString()); // no option behind the hyphens
    }

private:
    /// The command's messages.
    static QString run(const QStringList& arguments) {
        return runCommand(KOPERTAL_PROGRAM, arguments).messages;
    }

    /// Whether the log among the messages has these lines (regular expressions), and none of what
    /// the user works with, also not in part.
    static void checkLog(const QString& messages, const QStringList& told) {
        const QStringList log = messages.split('\n').filter(
            QRegularExpression("^\\d\\d:\\d\\d:\\d\\d\\.\\d{3} kopertal\\.[a-z]+: "));
        for (const QString& wanted : told)
            QVERIFY2(!log.filter(QRegularExpression(wanted)).isEmpty(), qPrintable(messages));
        for (const char* secret : {"Tajny", "Sekretna", "Skrytowo", "samotny", "Nadawcza",
                                   "473124829", "Doręczono", "delivered", "poufne"})
            QVERIFY2(log.filter(secret).isEmpty(), secret);
    }
};

QTEST_GUILESS_MAIN(VerboseLogTest)
#include "VerboseLogTest.moc"
