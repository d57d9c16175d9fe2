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

const auto number = QStringLiteral("RR473124829PL");
const auto addresses =
    QStringLiteral("Zenobiusz Tajny\nul. Sekretna 17\n00-321 Skrytowo\n\nsamotny\n");

/// None of what a user works with; also not in part.
const QStringList secrets{
    QStringLiteral("Tajny"),     QStringLiteral("Sekretna"),  QStringLiteral("Skrytowo"),
    QStringLiteral("samotny"),   QStringLiteral("Nadawcza"),  QStringLiteral("473124829"),
    QStringLiteral("Doręczono"), QStringLiteral("delivered"), QStringLiteral("poufne")};

/// The lines of the log among the program's messages.
QStringList logLines(const QString& messages) {
    static const QRegularExpression line(
        QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d{3} (kopertal\\.[a-z]+: .*)$"),
        QRegularExpression::MultilineOption);
    QStringList found;
    for (auto match = line.globalMatch(messages); match.hasNext();)
        found << match.next().captured(1);
    return found;
}

bool hasLine(const QStringList& log, const QString& pattern) {
    const QRegularExpression wanted(QRegularExpression::anchoredPattern(pattern));
    return std::any_of(log.begin(), log.end(),
                       [&](const QString& line) { return wanted.match(line).hasMatch(); });
}

} // namespace

/// What --verbose tells: the course of the work, and nothing of its contents.
class VerboseLogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_standIn.isReady());
        QVERIFY(QDir(m_folder.path()).mkpath(QStringLiteral("poufne")));
        m_file = test::writeFile(m_folder.filePath("poufne/adresy.txt"), addresses.toUtf8());
        m_photo = test::writeFile(m_folder.filePath("poufne/zdjecie.jpg"), test::photo({number}));
    }

    void commandsTellTheCourse_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("told");
        const QString ms = QStringLiteral("\\d+ ms");
        const QStringList generate{"generate",         m_file,          "-o",
                                   m_folder.path(),    "--sender-name", "Nadawcza",
                                   "--sender-address", "Nadawcza 1"};
        QTest::newRow("generate")
            << generate
            << QStringList{"kopertal.module: wczytano moduł generate w " + ms,
                           "kopertal.engine: dokument gotowy: adresatów 1, stron 1; wypełnianie " +
                               ms + ", razem " + ms};
        QTest::newRow("track") << QStringList{"track", "delivered", number, "reset"}
                               << QStringList{"kopertal.module: wczytano moduł track w " + ms,
                                              "kopertal.http: zapytanie 3: bajtów \\d+",
                                              "kopertal.http: zapytanie 1 po " + ms +
                                                  ": kod 200, bajtów \\d+",
                                              "kopertal.http: zapytanie 3 po " + ms +
                                                  ": Połączenie z serwerem zostało przerwane\\."};
        QTest::newRow("scan") << QStringList{"scan", m_photo}
                              << QStringList{"kopertal.photo: zdjęcie po " + ms +
                                             ": odczytane, kodów 1"};
    }

    void commandsTellTheCourse() {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, told);
        const QString silent = run(arguments);
        QVERIFY2(logLines(silent).isEmpty(), qPrintable(silent));
        for (const QStringList& verbose :
             {arguments + QStringList{"--verbose"}, QStringList{"--verbose"} + arguments}) {
            const QStringList log = logLines(run(verbose));
            for (const QString& line : told)
                QVERIFY2(hasLine(log, line), qPrintable(line + '\n' + log.join(u'\n')));
            tellsNoSecret(log);
        }
    }

    void itIsNoOptionBehindTwoHyphens() { QCOMPARE(run({"track", "--", "--verbose"}), QString()); }

    void theServerTellsOfPhotos() {
        QProcess serve;
        serve.setProcessEnvironment(environment());
        serve.start(KOPERTAL_PROGRAM, {"serve", "--verbose"});
        QString messages;
        const auto waitFor = [&](const QString& text) {
            return QTest::qWaitFor(
                [&] {
                    messages += QString::fromUtf8(serve.readAllStandardError());
                    return messages.contains(text);
                },
                20000);
        };
        QVERIFY(waitFor(QStringLiteral("Ctrl+C kończy")));
        const QRegularExpression port(QStringLiteral("serwer działa na porcie (\\d+)"));
        const QByteArray photo = test::photo({number});
        QVERIFY(test::upload(port.match(messages).captured(1).toUShort(), photo));
        QVERIFY(waitFor(QStringLiteral("kopertal.photo: ")));
        QVERIFY(waitFor(QStringLiteral("kodów 1\n")));
        kill(static_cast<pid_t>(serve.processId()), SIGINT);
        QVERIFY(serve.waitForFinished(20000));
        QVERIFY(serve.readAllStandardOutput().contains(number.toLatin1()));
        const QStringList log = logLines(messages);
        QVERIFY(hasLine(
            log,
            QStringLiteral("kopertal\\.server: odebrano zdjęcie: bajtów %1").arg(photo.size())));
        tellsNoSecret(log);
    }

    void theWindowTellsTheCourse() {
        PreferencesStore store(PreferencesStore::defaultPath());
        store.setText(QStringLiteral("sender.name"), QStringLiteral("Nadawcza"));
        store.setText(QStringLiteral("sender.address"), QStringLiteral("Nadawcza 1"));
        store.setText(QStringLiteral("paths.saveFolder"), m_folder.filePath("poufne"));
        QProcess window;
        window.setProcessEnvironment(environment());
        window.start(KOPERTAL_PROGRAM, {"--verbose", m_file});
        QString messages;
        QTest::qWait(2500); // until the window has the keyboard, and the file is read
        QTRY_VERIFY_WITH_TIMEOUT((pressKeys({"ctrl+Return"}),
                                  messages += QString::fromUtf8(window.readAllStandardError()),
                                  messages.contains(QStringLiteral("dokument gotowy"))),
                                 20000);
        messages += run({m_file, "--verbose"});
        kill(static_cast<pid_t>(window.processId()), SIGTERM);
        QVERIFY(window.waitForFinished(20000));
        QCOMPARE(window.exitCode(), 0);
        messages += QString::fromUtf8(window.readAllStandardError());
        const QStringList log = logLines(messages);
        for (const char* line : {"kopertal\\.module: wczytano moduł window w \\d+ ms",
                                 "kopertal\\.engine: dokument gotowy: adresatów 1, .*",
                                 "kopertal\\.instance: okno jest już otwarte",
                                 "kopertal\\.instance: następne uruchomienie przekazało polecenie"})
            QVERIFY2(hasLine(log, QString::fromUtf8(line)), qPrintable(log.join(u'\n')));
        tellsNoSecret(log);
    }

private:
    static void tellsNoSecret(const QStringList& log) {
        for (const QString& secret : secrets)
            QVERIFY2(!log.join(u'\n').contains(secret), qPrintable(secret));
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
};

QTEST_GUILESS_MAIN(VerboseLogTest)
#include "VerboseLogTest.moc"
