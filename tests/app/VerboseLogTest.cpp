#include "app/settings/PreferencesStore.h"
#include "tests/support/Files.h"
#include "tests/support/PhotoUpload.h"
#include "tests/support/RealKeys.h"
#include "tests/support/RunCommand.h"
#include "tests/support/TrackingStandIn.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <csignal>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

const QString number("RR473124829PL");

/// None of what a user works with; also not in part.
const QStringList secrets{"Tajny",     "Sekretna",  "Skrytowo",  "samotny", "Nadawcza",
                          "473124829", "Doręczono", "delivered", "poufne"};

/// Whether the log among the program's messages has these lines (regular expressions), and no
/// secret.
void checkLog(const QString& messages, const QStringList& told) {
    static const QRegularExpression line("^\\d\\d:\\d\\d:\\d\\d\\.\\d{3} (kopertal\\.[a-z]+: .*)$",
                                         QRegularExpression::MultilineOption);
    QStringList log;
    for (auto match = line.globalMatch(messages); match.hasNext();)
        log << match.next().captured(1);
    for (const QString& wanted : told)
        QVERIFY2(log.indexOf(QRegularExpression(wanted)) >= 0,
                 qPrintable(wanted + '\n' + messages));
    for (const QString& secret : secrets)
        QVERIFY2(!log.join(u'\n').contains(secret), qPrintable(secret));
}

} // namespace

/// What --verbose tells: the course of the work, and nothing of its contents.
class VerboseLogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_standIn.isReady());
        QVERIFY(QDir(m_folder.path()).mkpath("poufne"));
        m_file = test::writeFile(m_folder.filePath("poufne/adresy.txt"),
                                 "Zenobiusz Tajny\nul. Sekretna 17\n00-321 Skrytowo\n\nsamotny\n");
        m_photo = test::writeFile(m_folder.filePath("poufne/zdjecie.jpg"), test::photo({number}));
    }

    void commandsTellTheCourse() {
        const std::pair<QStringList, QStringList> cases[] = {
            {{"generate", m_file, "-o", m_folder.path(), "--sender-name", "Nadawcza",
              "--sender-address", "Nadawcza 1"},
             {"kopertal.module: wczytano moduł generate w \\d+ ms",
              "kopertal.engine: dokument gotowy: adresatów 1, stron 1; "
              "wypełnianie \\d+ ms, razem \\d+ ms"}},
            {{"track", "delivered", number, "reset"},
             {"kopertal.module: wczytano moduł track w \\d+ ms",
              "kopertal.http: zapytanie 3: bajtów \\d+",
              "kopertal.http: zapytanie 1 po \\d+ ms: kod 200, bajtów \\d+",
              "kopertal.http: zapytanie 3 po \\d+ ms: Połączenie z serwerem zostało przerwane\\."}},
            {{"scan", m_photo}, {"kopertal.photo: zdjęcie po \\d+ ms: odczytane, kodów 1"}}};
        for (const auto& [arguments, told] : cases) {
            QVERIFY(!run(arguments).contains("kopertal."));
            checkLog(run(arguments + QStringList{"--verbose"}), told);
            checkLog(run(QStringList{"--verbose"} + arguments), told);
        }
        QCOMPARE(run({"track", "--", "--verbose"}), QString()); // no option behind the hyphens
    }

    void theServerTellsOfPhotos() {
        start({"serve", "--verbose"});
        QTRY_VERIFY_WITH_TIMEOUT(hasSaid("Ctrl\\+C kończy"), 20000);
        const auto port = QRegularExpression("serwer działa na porcie (\\d+)").match(m_messages);
        const QByteArray photo = test::photo({number});
        QVERIFY(test::upload(port.captured(1).toUShort(), photo));
        QTRY_VERIFY_WITH_TIMEOUT(hasSaid("kopertal\\.photo: .*kodów 1\n"), 20000);
        end(SIGINT);
        QVERIFY(m_program.readAllStandardOutput().contains(number.toLatin1()));
        checkLog(m_messages,
                 {QString("kopertal\\.server: odebrano zdjęcie: bajtów %1").arg(photo.size())});
    }

    void theWindowTellsTheCourse() {
        PreferencesStore store(PreferencesStore::defaultPath());
        store.setText("sender.name", "Nadawcza");
        store.setText("sender.address", "Nadawcza 1");
        store.setText("paths.saveFolder", m_folder.filePath("poufne"));
        start({"--verbose", m_file});
        QTest::qWait(2500); // until the window has the keyboard, and the file is read
        QTRY_VERIFY_WITH_TIMEOUT((pressKeys({"ctrl+Return"}), hasSaid("dokument gotowy")), 20000);
        m_messages += run({m_file, "--verbose"});
        end(SIGTERM);
        QVERIFY2(m_program.exitCode() == 0, qPrintable(m_messages));
        checkLog(m_messages, {"kopertal\\.module: wczytano moduł window w \\d+ ms",
                              "kopertal\\.engine: dokument gotowy: adresatów 1, .*",
                              "kopertal\\.instance: okno jest już otwarte",
                              "kopertal\\.instance: następne uruchomienie przekazało polecenie"});
    }

private:
    void start(const QStringList& arguments) {
        m_messages.clear();
        m_program.setProcessEnvironment(environment());
        m_program.start(KOPERTAL_PROGRAM, arguments);
    }

    bool hasSaid(const QString& pattern) {
        m_messages += QString::fromUtf8(m_program.readAllStandardError());
        return m_messages.contains(QRegularExpression(pattern));
    }

    void end(int signal) {
        kill(static_cast<pid_t>(m_program.processId()), signal);
        QVERIFY(m_program.waitForFinished(20000));
        m_messages += QString::fromUtf8(m_program.readAllStandardError());
    }

    QProcessEnvironment environment() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("KOPERTAL_TRACKING_ENDPOINT", m_standIn.address("http", "service"));
        return environment;
    }

    /// The command's messages.
    QString run(const QStringList& arguments) {
        return test::runCommand(KOPERTAL_PROGRAM, arguments, {}, environment()).messages;
    }

    TrackingStandIn m_standIn;
    QTemporaryDir m_folder;
    QString m_file;
    QString m_photo;
    QProcess m_program;
    QString m_messages; // of the program
};

QTEST_GUILESS_MAIN(VerboseLogTest)
#include "VerboseLogTest.moc"
