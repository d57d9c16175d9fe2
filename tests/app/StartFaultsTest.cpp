#include "tests/support/Files.h"
#include "tests/support/RealKeys.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <memory>

using namespace kopertal::testing;

/// The program where something that it counts on is missing: it works, or says why not.
class StartFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_program = std::make_unique<QProcess>();
        m_environment = QProcessEnvironment::systemEnvironment();
        QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("config/kopertal")));
        kopertal::test::writeFile(
            m_folder->filePath("config/kopertal/settings.json"),
            R"({"sender.name": "N", "sender.address": "A", "paths.saveFolder": "/tmp"})");
        m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"),
                             m_folder->filePath(QStringLiteral("config")));
        m_environment.insert(QStringLiteral("HOME"), m_folder->path());
        m_environment.insert("TMPDIR", m_folder->path()); // which may stand in for other folders
    }

    void cleanup() {
        if (m_program->state() == QProcess::NotRunning)
            return;
        m_program->kill();
        m_program->waitForFinished();
    }

    void saysThatThereIsNoDisplay() {
        const std::pair<QString, QString> displaysAndPlatforms[] = {
            {{}, "xcb"},          {{}, {}},
            {":4095", "xcb"}, // nobody serves it
            {"nonsense", "xcb"},  {":4095", "wayland"},
            {":4095", "nonsense"}};
        for (const auto& [display, platform] : displaysAndPlatforms) {
            set("DISPLAY", display);
            set("QT_QPA_PLATFORM", platform);
            start();
            QVERIFY(m_program->waitForFinished(20000));
            QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
            QCOMPARE(m_program->exitCode(), 1);
            const QString messages = QString::fromUtf8(m_program->readAllStandardError());
            QVERIFY2(messages.contains("Nie można otworzyć okna: brak połączenia"),
                     qPrintable(display + platform + messages));
        }
    }

    void worksWithoutWhatIsMissing() {
        const QString nowhere = "/proc/kopertal"; // not even root makes it
        const std::pair<QByteArray, QString> cases[] = {
            {"DBUS_SESSION_BUS_ADDRESS", {}},
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + nowhere},
            {"XDG_RUNTIME_DIR", {}},
            {"XDG_RUNTIME_DIR", nowhere},
            {"HOME", {}},
            {"HOME", nowhere},
            {"XDG_CONFIG_HOME", "/dev/null"},
            {"LC_ALL", "xx_XX"}};
        for (const auto& [name, value] : cases) {
            init();
            set(name, value);
            start();
            QVERIFY2(QTest::qWaitFor([] { return !windowsNamed("Kopertal").isEmpty(); }, 20000),
                     name);
            QTest::qWait(500); // in which the desktop is asked for its settings
            endOrderly();
        }
    }

private:
    /// An empty value takes the variable away.
    void set(const QByteArray& name, const QString& value) {
        const QString key = QString::fromLatin1(name);
        if (value.isEmpty())
            m_environment.remove(key);
        else
            m_environment.insert(key, value);
        if (name == "HOME")
            m_environment.remove(QStringLiteral("XDG_CONFIG_HOME"));
    }

    void start() {
        m_program->setProcessEnvironment(m_environment);
        m_program->start(KOPERTAL_PROGRAM, QStringList());
        QVERIFY(m_program->waitForStarted());
    }

    void endOrderly() {
        kill(static_cast<pid_t>(m_program->processId()), SIGTERM);
        QTRY_COMPARE_WITH_TIMEOUT(m_program->state(), QProcess::NotRunning, 20000);
        QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_program->exitCode(), 0);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QProcess> m_program;
    QProcessEnvironment m_environment;
};

QTEST_GUILESS_MAIN(StartFaultsTest)
#include "StartFaultsTest.moc"
