#include "app/settings/PreferencesStore.h"
#include "tests/support/Files.h"
#include "tests/support/RealKeys.h"
#include "tests/support/RunCommand.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <csignal>
#include <memory>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

const QString registerKey("tracking.sentBooks");
const QString layoutKey("window.layout");
const QString programPath(KOPERTAL_PROGRAM);

QString activeWindow() {
    return askXdotool({"getactivewindow", "getwindowname"});
}

} // namespace

/// The program as the desktop starts, repeats and ends it, also where something that it counts on
/// is missing.
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

    void registerLivesForOneRun_data() {
        QTest::addColumn<int>("signal");
        QTest::addColumn<QString>("key");
        for (const int signal : {SIGTERM, SIGINT, SIGHUP})
            QTest::addRow("signal %d", signal) << signal << "";
        for (const char* key : {"ctrl+q", "alt+F4"})
            QTest::addRow("%s", key) << 0 << key;
    }

    void registerLivesForOneRun() {
        QFETCH(int, signal);
        QFETCH(QString, key);
        startProgram({});
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

    /// The toolkit would add the program's name to titles that begin with it.
    void theHelpWindowHasItsTitleAndGoesWithTheProgram() {
        startProgram({});
        pressKeys({"F1"});
        QTRY_COMPARE(activeWindow(), "Kopertal — pomoc");
        xdotool({"windowactivate", windowsNamed("Kopertal")});
        QTRY_COMPARE(activeWindow(), "Kopertal");
        pressKeys({"alt+F4"});
        waitForEnd();
    }

    void secondStartHandsItsFileToTheFirst() {
        startProgram({});
        const QFileInfo socket(socketPath());
        QVERIFY(socket.exists());
        QCOMPARE(socket.permissions() & QFile::Permissions(0x0077), QFile::Permissions());
        m_store.setData(registerKey, "[2]");
        const QString windows = windowsNamed("Kopertal");
        test::writeFile(m_folder.filePath("adresy.txt"), "A\nB\n");
        const auto second =
            test::runCommand(programPath, {"adresy.txt"}, {},
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
        startProgram({});
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
            const QStringList arguments{"-c", askProgram, socketPath(), size};
            QCOMPARE(test::runCommand("/usr/bin/python3", arguments).output, answer);
        }
    }

    void saysThatThereIsNoDisplay() {
        const std::pair<QString, QString> displaysAndPlatforms[] = {
            {"", ""},
            {":4095", "xcb"}, // nobody serves it
            {":4095", "wayland"},
            {":4095", "nonsense"}};
        for (const auto& [display, platform] : displaysAndPlatforms) {
            QProcessEnvironment environment = with("DISPLAY", display);
            environment.insert("QT_QPA_PLATFORM", platform);
            const auto result = test::runCommand(programPath, {}, {}, environment);
            QCOMPARE(result.exitCode, 1);
            QVERIFY2(result.messages.contains("Nie można otworzyć okna: brak połączenia"),
                     qPrintable(display + platform + result.messages));
        }
    }

    void worksWithoutWhatIsMissing() {
        const QString nowhere = "/proc/kopertal"; // not even root makes it
        const std::pair<QString, QString> cases[] = {
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + nowhere},
            {"XDG_RUNTIME_DIR", ""},
            {"XDG_RUNTIME_DIR", nowhere},
            {"HOME", ""},
            {"HOME", nowhere},
            {"XDG_CONFIG_HOME", "/dev/null"},
            {"LC_ALL", "xx_XX"}};
        for (const auto& [name, value] : cases) {
            QProcessEnvironment environment = with(name, value);
            environment.insert("TMPDIR", m_folder.path()); // which may stand in for other folders
            if (name == "HOME")
                environment.remove("XDG_CONFIG_HOME");
            m_program->setProcessEnvironment(environment);
            startProgram({});
            QTest::qWait(500); // in which the desktop is asked for its settings
            m_program->terminate();
            waitForEnd();
        }
    }

    void commandsLeaveTheRegisterAlone() {
        QCOMPARE(test::runCommand(programPath, {"--version"}).exitCode, 0);
        QCOMPARE(m_store.data(registerKey), "[]");
    }

    void aRegisterInTheMakingSurvivesTheWindow() {
        const int before = documents();
        leaveDuringARegister(5000);
        waitForEnd();
        QCOMPARE(documents(), before + 1);
        QVERIFY(QDir(m_folder.path()).entryList({"*.docx.*"}).isEmpty());
    }

    void aSignalStillStopsARegisterAfterTheWindow() {
        const int before = documents();
        const QTemporaryDir temporary;
        m_program->setProcessEnvironment(with("TMPDIR", temporary.path()));
        leaveDuringARegister(50000);
        QTRY_VERIFY(windowsNamed("Kopertal").isEmpty());
        QVERIFY(!QDir(temporary.path()).isEmpty()); // it is in the making
        m_program->terminate();
        waitForEnd();
        QCOMPARE(documents(), before);
        QVERIFY(QDir(temporary.path()).isEmpty());
    }

private:
    /// An empty value takes the variable away.
    static QProcessEnvironment with(const QString& name, const QString& value) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        value.isEmpty() ? environment.remove(name) : environment.insert(name, value);
        return environment;
    }

    void startProgram(const QStringList& arguments) {
        m_program->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_program->start(programPath, arguments);
        QTRY_VERIFY_WITH_TIMEOUT(!windowsNamed("Kopertal").isEmpty(), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), "Kopertal", 20000);
        QTest::qWait(300);
    }

    void waitForEnd() {
        QTRY_COMPARE_WITH_TIMEOUT(m_program->state(), QProcess::NotRunning, 120000);
        QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_program->exitCode(), 0);
    }

    void leaveDuringARegister(int recipients) {
        const QByteArray addresses =
            QByteArray("Nazwa\nul. A 1\n00-000 B\n\n").repeated(recipients);
        startProgram({test::writeFile(m_folder.filePath("wiele.txt"), addresses)});
        QTest::qWait(2500);
        pressKeys({"ctrl+Return", "alt+F4"});
    }

    static QString socketPath() {
        return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) +
               "/kopertal.socket";
    }

    int documents() const {
        return static_cast<int>(QDir(m_folder.path()).entryList({"*.docx"}, QDir::Files).size());
    }

    QTemporaryDir m_folder;
    PreferencesStore m_store{PreferencesStore::defaultPath()};
    std::unique_ptr<QProcess> m_program;
};

QTEST_GUILESS_MAIN(ProcessTest)
#include "ProcessTest.moc"
