#include "app/settings/PreferencesStore.h"
#include "net/Descriptor.h"
#include "tests/support/Files.h"
#include "tests/support/RealKeys.h"
#include "tests/support/RunCommand.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <csignal>
#include <memory>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

constexpr int endOfSession = SIGUSR1; // what the session manager is told by
const auto registerKey = QStringLiteral("tracking.sentBooks");
const auto layoutKey = QStringLiteral("window.layout");

QString programPath() {
    return QStringLiteral(KOPERTAL_PROGRAM);
}

QString activeWindow() {
    return askXdotool({"getactivewindow", "getwindowname"});
}

} // namespace

/// The program as the desktop starts, repeats and ends it.
class ProcessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_store.setText(QStringLiteral("sender.name"), QStringLiteral("Nadawca"));
        m_store.setText(QStringLiteral("sender.address"), QStringLiteral("ul. Nowa 1"));
        m_store.setText(QStringLiteral("paths.saveFolder"), m_folder.path());
        m_store.setData(registerKey, QByteArrayLiteral("[]"));
        m_store.remove(layoutKey);
        m_program = std::make_unique<QProcess>();
    }

    void cleanup() {
        if (m_program->state() != QProcess::NotRunning) {
            m_program->kill();
            m_program->waitForFinished();
        }
    }

    void registerLivesForOneRun_data() {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
        QTest::newRow("Ctrl+Q") << 0;
        QTest::newRow("Alt+F4") << -1;
        QTest::newRow("the session's end") << endOfSession;
    }

    void registerLivesForOneRun() {
        QFETCH(int, signal);
        startProgram({}, signal == endOfSession);
        QVERIFY(!m_store.data(registerKey));
        m_store.setData(registerKey, QByteArrayLiteral("[1]"));
        if (signal > 0)
            kill(static_cast<pid_t>(m_program->processId()), signal);
        else
            pressKeys({signal == 0 ? "ctrl+q" : "alt+F4"});
        QTRY_COMPARE_WITH_TIMEOUT(m_program->state(), QProcess::NotRunning, 20000);
        QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_program->exitCode(), 0);
        QVERIFY(!m_store.data(registerKey));
        QVERIFY(m_store.object(layoutKey)); // the window is remembered at every end
        QCOMPARE(m_store.text(QStringLiteral("sender.name")), QStringLiteral("Nadawca"));
        if (signal == endOfSession) // which brings back what the user had, not the toolkit's words
            QCOMPARE(m_program->readAllStandardOutput().split('\n').value(0),
                     "restart: " + programPath().toLocal8Bit());
    }

    /// The toolkit would add the program's name to titles that begin with it.
    void theHelpWindowHasItsTitleAndGoesWithTheProgram() {
        startProgram({});
        pressKeys({"F1"});
        QTRY_COMPARE(activeWindow(), QString("Kopertal — pomoc"));
        pressKeys({"Escape"});
        QTRY_COMPARE(activeWindow(), QString("Kopertal"));
        pressKeys({"F1"});
        QTRY_COMPARE(activeWindow(), QString("Kopertal — pomoc"));
        xdotool({QStringLiteral("windowactivate"), windowsNamed("Kopertal")});
        QTRY_COMPARE(activeWindow(), QString("Kopertal"));
        pressKeys({"alt+F4"});
        QTRY_COMPARE_WITH_TIMEOUT(m_program->state(), QProcess::NotRunning, 20000);
        QCOMPARE(m_program->exitCode(), 0);
    }

    void idleWakesForTheCaretOnly() {
        startProgram({});
        const QStringList window{QStringLiteral("getactivewindow")};
        constexpr int seconds = 3;
        constexpr int perBlink = 4; // two blinks a second: the timer, and the server's answers
        QVERIFY2(wakeUps(seconds) <= 2 * seconds * perBlink, qPrintable(m_lastWakeUps));
        xdotool(window + QStringList{QStringLiteral("windowminimize")});
        QVERIFY2(wakeUps(seconds) <= 1, qPrintable(m_lastWakeUps)); // there is no caret to blink
    }

    void secondStartHandsItsFileToTheFirst() {
        startProgram({});
        const QFileInfo socket(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) +
                               QStringLiteral("/kopertal.socket"));
        QVERIFY(socket.exists());
        QCOMPARE(socket.permissions() & QFile::Permissions(0x0077), QFile::Permissions());
        m_store.setData(registerKey, QByteArrayLiteral("[2]"));
        const QString windows = windowsNamed("Kopertal");
        test::writeFile(m_folder.filePath("adresy.txt"), "A\nB\n");
        const auto second =
            test::runCommand(programPath(), {"adresy.txt"}, {},
                             QProcessEnvironment::systemEnvironment(), m_folder.path());
        QCOMPARE(second.exitCode, 0);
        QCOMPARE(windowsNamed("Kopertal"), windows);
        QCOMPARE(m_store.data(registerKey), QByteArrayLiteral("[2]")); // the first one's, still
        QVERIFY(!m_store.object(layoutKey));
        QTest::qWait(500);
        pressKeys({"ctrl+Return"});
        QTRY_COMPARE_WITH_TIMEOUT(documents(), 1, 20000);
    }

    void aTooLargeMessageIsRefused() {
        startProgram({});
        constexpr qsizetype largest = qsizetype(64) << 10;
        QCOMPARE(answerTo(QByteArray("{}").leftJustified(largest + 1, ' ')), "");
        QCOMPARE(answerTo(QByteArray("{}").leftJustified(largest, ' ')), "ok");
    }

    void commandsLeaveTheRegisterAlone() {
        QCOMPARE(test::runCommand(programPath(), {"--version"}).exitCode, 0);
        QCOMPARE(m_store.data(registerKey), QByteArrayLiteral("[]"));
    }

    void aRegisterInTheMakingSurvivesTheWindow() {
        const int before = documents();
        startProgram({test::writeFile(m_folder.filePath("wiele.txt"),
                                      QByteArray("Nazwa\nul. A 1\n00-000 B\n\n").repeated(5000))});
        QTest::qWait(2500);
        pressKeys({"ctrl+Return", "alt+F4"});
        QTRY_COMPARE_WITH_TIMEOUT(m_program->state(), QProcess::NotRunning, 120000);
        QCOMPARE(m_program->exitCode(), 0);
        QCOMPARE(documents(), before + 1);
        QVERIFY(QDir(m_folder.path()).entryList({QStringLiteral("*.docx.*")}).isEmpty());
    }

    void aSignalStillStopsARegisterAfterTheWindow() {
        const int before = documents();
        const QTemporaryDir temporary;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TMPDIR"), temporary.path());
        m_program->setProcessEnvironment(environment);
        startProgram({test::writeFile(m_folder.filePath("wiele.txt"),
                                      QByteArray("Nazwa\nul. A 1\n00-000 B\n\n").repeated(50000))});
        QTest::qWait(2500);
        pressKeys({"ctrl+Return", "alt+F4"});
        QTRY_VERIFY(windowsNamed("Kopertal").isEmpty());
        QVERIFY(!QDir(temporary.path()).isEmpty()); // it is in the making
        kill(static_cast<pid_t>(m_program->processId()), SIGTERM);
        QTRY_COMPARE_WITH_TIMEOUT(m_program->state(), QProcess::NotRunning, 20000);
        QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(documents(), before);
        QVERIFY(QDir(temporary.path()).isEmpty());
    }

private:
    void startProgram(const QStringList& arguments, bool isInSession = false) {
        m_program->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        if (isInSession)
            m_program->start(QCoreApplication::applicationDirPath() +
                                 QStringLiteral("/kopertal_session"),
                             {programPath()});
        else
            m_program->start(programPath(), arguments);
        QVERIFY(m_program->waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(!windowsNamed("Kopertal").isEmpty(), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), QString("Kopertal"), 20000);
        QTest::qWait(300);
    }

    /// Of the program, to what another start might say.
    static QByteArray answerTo(const QByteArray& message) {
        const QByteArray path = qgetenv("XDG_RUNTIME_DIR") + "/kopertal.socket";
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, path.constData(), sizeof address.sun_path);
        const Descriptor connection(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
        const timeval patience{20, 0};
        ::setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        QByteArray answer(16, Qt::Uninitialized);
        const auto size = static_cast<size_t>(message.size());
        if (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address),
                      sizeof address) != 0 ||
            ::send(connection.get(), message.constData(), size, 0) != message.size())
            return "not sent";
        const ssize_t count = ::recv(connection.get(), answer.data(), 16, 0);
        return count < 0 ? "still open" : answer.first(count);
    }

    /// How often any of the program's threads is woken in that time, once it has settled.
    int wakeUps(int seconds) {
        QTest::qWait(2000);
        const int before = switches();
        QTest::qWait(seconds * 1000);
        const int after = switches();
        m_lastWakeUps = QStringLiteral("%1 in %2 s").arg(after - before).arg(seconds);
        return after - before;
    }

    int switches() const {
        int sum = 0;
        const QDir threads(QStringLiteral("/proc/%1/task").arg(m_program->processId()));
        for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const QByteArray status = test::contentsOf(threads.filePath(thread + "/status"));
            const qsizetype line = status.indexOf("\nvoluntary_ctxt_switches:");
            sum += status.mid(status.indexOf('\t', line)).split('\n').first().trimmed().toInt();
        }
        return sum;
    }

    int documents() const {
        return static_cast<int>(
            QDir(m_folder.path()).entryList({QStringLiteral("*.docx")}, QDir::Files).size());
    }

    QString m_lastWakeUps;
    QTemporaryDir m_folder;
    PreferencesStore m_store{PreferencesStore::defaultPath()};
    std::unique_ptr<QProcess> m_program;
};

QTEST_GUILESS_MAIN(ProcessTest)
#include "ProcessTest.moc"
