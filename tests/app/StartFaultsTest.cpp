#include "tests/support/RealKeys.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <memory>

using namespace kopertal::testing;

namespace {

QByteArray visibleWindows(const QString& title) {
    QProcess tool;
    tool.start(QStringLiteral("xdotool"),
               {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                QStringLiteral("^%1$").arg(title)});
    tool.waitForFinished(10000);
    return tool.readAllStandardOutput().trimmed();
}

} // namespace

/// The program where something that it counts on is missing: it works, or says why not.
class StartFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_program = std::make_unique<QProcess>();
        m_environment = QProcessEnvironment::systemEnvironment();
        QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("config/kopertal")));
        QFile settings(m_folder->filePath(QStringLiteral("config/kopertal/settings.json")));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write(
            R"({"sender.name": "N", "sender.address": "A", "paths.saveFolder": "/tmp"})");
        m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"),
                             m_folder->filePath(QStringLiteral("config")));
        m_environment.insert(QStringLiteral("HOME"), m_folder->path());
    }

    void cleanup() {
        if (m_program->state() == QProcess::NotRunning)
            return;
        m_program->kill();
        m_program->waitForFinished();
    }

    void saysThatThereIsNoDisplay_data() {
        QTest::addColumn<QString>("display");
        QTest::addColumn<QString>("platform");
        QTest::newRow("none") << QString() << "xcb";
        QTest::newRow("none, chosen by the toolkit") << QString() << QString();
        QTest::newRow("one that nobody serves") << ":4095"
                                                << "xcb";
        QTest::newRow("no name of a display") << "nonsense"
                                              << "xcb";
        QTest::newRow("another kind") << ":4095"
                                      << "wayland";
        QTest::newRow("a kind that is not there") << ":4095"
                                                  << "nonsense";
    }

    void saysThatThereIsNoDisplay() {
        QFETCH(QString, display);
        QFETCH(QString, platform);
        set("DISPLAY", display);
        set("QT_QPA_PLATFORM", platform);
        start();
        QVERIFY(m_program->waitForFinished(20000));
        QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_program->exitCode(), 1);
        const QString messages = QString::fromUtf8(m_program->readAllStandardError());
        QVERIFY2(messages.contains(QStringLiteral("Nie można otworzyć okna: brak połączenia")),
                 qPrintable(messages));
    }

    void worksWithoutWhatIsMissing_data() {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("value");
        const QString nowhere = QStringLiteral("/proc/kopertal/gone");
        QTest::newRow("no address of a session bus")
            << QByteArray("DBUS_SESSION_BUS_ADDRESS") << QString();
        QTest::newRow("a session bus that is gone")
            << QByteArray("DBUS_SESSION_BUS_ADDRESS") << "unix:path=" + nowhere;
        QTest::newRow("no runtime folder") << QByteArray("XDG_RUNTIME_DIR") << QString();
        QTest::newRow("a runtime folder that is gone") << QByteArray("XDG_RUNTIME_DIR") << nowhere;
        QTest::newRow("no home") << QByteArray("HOME") << QString();
        QTest::newRow("a home that is gone") << QByteArray("HOME") << nowhere;
        QTest::newRow("a configuration folder that cannot be")
            << QByteArray("XDG_CONFIG_HOME") << "/dev/null";
        QTest::newRow("no locale that is known") << QByteArray("LC_ALL") << "xx_XX";
    }

    void worksWithoutWhatIsMissing() {
        QFETCH(QByteArray, name);
        QFETCH(QString, value);
        set(name, value);
        start();
        QTRY_VERIFY_WITH_TIMEOUT(!visibleWindows(QStringLiteral("Kopertal")).isEmpty(), 20000);
        QTest::qWait(500); // in which the desktop is asked for its settings
        endOrderly();
    }

    void saysThatSettingsCannotBeSaved_data() {
        QTest::addColumn<bool>("isFull");
        QTest::newRow("a read-only folder") << false;
        QTest::newRow("a full disk") << true;
    }

    /// In a mount of the test's own, for root may write everywhere else.
    void saysThatSettingsCannotBeSaved() {
        QFETCH(bool, isFull);
        const QString mount = QStringLiteral(
            "cd \"$1\" && cp -r config/kopertal kept && mount -t tmpfs -o size=64k tmpfs config && "
            "mv kept config/kopertal && ");
        const QString spoil =
            isFull ? QStringLiteral("{ cat /dev/zero > config/filling 2>/dev/null; true; } && ")
                   : QStringLiteral("mount -o remount,ro config && ");
        const QStringList unshare{QStringLiteral("--user"), QStringLiteral("--map-root-user"),
                                  QStringLiteral("--mount"), QStringLiteral("sh"),
                                  QStringLiteral("-c")};
        if (QProcess::execute(QStringLiteral("unshare"),
                              unshare + QStringList{mount + QStringLiteral("true"),
                                                    QStringLiteral("sh"), m_folder->path()}) != 0)
            QSKIP("the system allows no mounts");
        QFile::remove(m_folder->filePath(QStringLiteral("kept")));
        QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("config/kopertal")));
        start(QStringLiteral("unshare"),
              unshare + QStringList{mount + spoil + QStringLiteral("exec \"$2\""),
                                    QStringLiteral("sh"), m_folder->path(),
                                    QStringLiteral(KOPERTAL_PROGRAM)});
        QTRY_VERIFY_WITH_TIMEOUT(!visibleWindows(QStringLiteral("Kopertal")).isEmpty(), 20000);
        QTest::qWait(500);
        pressKeys({"ctrl+comma"});
        QTRY_VERIFY(!visibleWindows(QStringLiteral("Ustawienia — Kopertal")).isEmpty());
        QTest::qWait(200);
        pressKeys({"X", "Return"});
        QTRY_VERIFY(!visibleWindows(QStringLiteral("Błąd")).isEmpty());
        QTest::qWait(200);
        pressKeys({"Return"}); // one alert for all the values of the form
        QTRY_VERIFY(visibleWindows(QStringLiteral("Błąd")).isEmpty());
        QTest::qWait(200);
        QVERIFY(visibleWindows(QStringLiteral("Błąd")).isEmpty());
        endOrderly();
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

    void start(const QString& program = QStringLiteral(KOPERTAL_PROGRAM),
               const QStringList& arguments = {}) {
        m_program->setProcessEnvironment(m_environment);
        m_program->start(program, arguments);
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
