#include "app/settings/PreferencesStore.h"
#include "tests/support/Files.h"
#include "tests/support/RealKeys.h"
#include "tests/support/RunCommand.h"

#include <QDir>
#include <QTemporaryDir>

#include <csignal>
#include <memory>

using namespace kopertal;
using namespace kopertal::testing;

/// The program as the desktop starts, repeats and ends it.
class ProcessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_program = std::make_unique<QProcess>();
        m_store.setText("sender.name", "Nadawca");
        m_store.setText("sender.address", "ul. Nowa 1");
        m_store.setText("paths.saveFolder", m_folder.path());
        m_store.setData(registerKey, "[]");
        m_store.remove(layoutKey);
    }

    void cleanup() {
        m_program->kill();
        m_program->waitForFinished();
    }

    void registerLivesForOneRun() {
        const std::pair<int, QString> ends[] = {
            {SIGTERM, ""}, {SIGINT, ""}, {SIGHUP, ""}, {0, "ctrl+q"}, {0, "alt+F4"}};
        for (const auto& [signal, key] : ends) {
            m_store.remove(layoutKey);
            startProgram();
            QVERIFY(!m_store.data(registerKey));
            m_store.setData(registerKey, "[1]");
            if (key.isEmpty())
                kill(static_cast<pid_t>(m_program->processId()), signal);
            else
                pressKeys({key});
            waitForEnd();
            QVERIFY(!m_store.data(registerKey));
            QVERIFY(m_store.object(layoutKey)); // the window is remembered at every end
            QCOMPARE(m_store.text("sender.name"), "Nadawca");
        }
        m_store.setData(registerKey, "[1]");
        QCOMPARE(test::runCommand(KOPERTAL_PROGRAM, {"--version"}).exitCode, 0);
        QCOMPARE(m_store.data(registerKey), "[1]"); // commands leave it alone
    }

    void secondStartHandsItsFileToTheFirst() {
        startProgram();
        const QFileInfo socket(m_socket);
        QVERIFY(socket.exists());
        QCOMPARE(socket.permissions() & QFile::Permissions(0x0077), QFile::Permissions());
        m_store.setData(registerKey, "[2]");
        const QString windows = windowsNamed("Kopertal");
        test::writeFile(m_folder.filePath("adresy.txt"), "A\nB\n");
        const auto second =
            test::runCommand(KOPERTAL_PROGRAM, {"adresy.txt"}, {},
                             QProcessEnvironment::systemEnvironment(), m_folder.path());
        QCOMPARE(second.exitCode, 0);
        QCOMPARE(windowsNamed("Kopertal"), windows);
        QCOMPARE(m_store.data(registerKey), "[2]"); // the first one's, still
        QVERIFY(!m_store.object(layoutKey));
        QTest::qWait(500);
        pressKeys({"ctrl+Return"});
        QTRY_COMPARE_WITH_TIMEOUT(documents(), 1, 20000);
    }

    void aTooLargeMessageIsRefused() {
        startProgram();
        const QString askProgram =
            "import socket, sys\n"
            "program = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)\n"
            "program.settimeout(20)\n"
            "program.connect(sys.argv[1])\n"
            "program.send(b'{}'.ljust(int(sys.argv[2])))\n"
            "print(program.recv(16))";
        const std::pair<const char*, const char*> cases[] = {{"65537", "b''\n"},
                                                             {"65536", "b'ok'\n"}};
        for (const auto& [size, answer] : cases) {
            const QStringList arguments{"-c", askProgram, m_socket, size};
            QCOMPARE(test::runCommand("/usr/bin/python3", arguments).output, answer);
        }
    }

    /// Unless a signal stops it.
    void aRegisterInTheMakingSurvivesTheWindow() {
        const qsizetype before = documents();
        const QTemporaryDir temporary;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TMPDIR", temporary.path());
        m_program->setProcessEnvironment(environment);
        for (const int recipients : {5000, 50000}) {
            const bool isStopped = recipients > 5000;
            const QByteArray addresses =
                QByteArray("Nazwa\nul. A 1\n00-000 B\n\n").repeated(recipients);
            startProgram({test::writeFile(m_folder.filePath("wiele.txt"), addresses)});
            QTest::qWait(2500);
            pressKeys({"ctrl+Return", "alt+F4"});
            QTRY_VERIFY(windowsNamed("Kopertal").isEmpty());
            if (isStopped) {
                QVERIFY(!QDir(temporary.path()).isEmpty()); // it is in the making
                m_program->terminate();
            }
            waitForEnd();
            QCOMPARE(documents(), before + 1);
            QVERIFY(QDir(temporary.path()).isEmpty());
        }
    }

private:
    static inline const QString registerKey{"tracking.sentBooks"};
    static inline const QString layoutKey{"window.layout"};

    void startProgram(const QStringList& arguments = {}) {
        m_program->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_program->start(KOPERTAL_PROGRAM, arguments);
        QTRY_COMPARE_WITH_TIMEOUT(askXdotool({"getactivewindow", "getwindowname"}), "Kopertal",
                                  20000);
        QTest::qWait(300);
    }

    void waitForEnd() {
        QTRY_COMPARE_WITH_TIMEOUT(m_program->state(), QProcess::NotRunning, 120000);
        QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_program->exitCode(), 0);
    }

    /// Also of those that are not whole.
    qsizetype documents() const { return QDir(m_folder.path()).entryList({"*.docx*"}).size(); }

    QTemporaryDir m_folder;
    const QString m_socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + "/kopertal.socket";
    PreferencesStore m_store{PreferencesStore::defaultPath()};
    std::unique_ptr<QProcess> m_program;
};

QTEST_GUILESS_MAIN(ProcessTest)
#include "ProcessTest.moc"
