#include "tests/support/Files.h"
#include "tests/support/RawClient.h"
#include "tests/support/RunCommand.h"

#include <QDir>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <csignal>

using namespace kopertal::test;
using namespace std::string_literals;

namespace {

/// The program's command, running as a terminal would run it: in a process group of its own.
class Serve {
public:
    /// `starter` is a command that starts another one.
    explicit Serve(const QStringList& options, const QStringList& starter = {}) {
        m_process.start(QStringLiteral("setsid"),
                        starter + QStringList{KOPERTAL_PROGRAM, "serve"} + options);
        waitFor(QStringLiteral("Ctrl+C"));
        static const QRegularExpression address(QStringLiteral("^http://[0-9.]+:([0-9]+)$"),
                                                QRegularExpression::MultilineOption);
        port = address.match(m_messages).captured(1).toUShort();
    }

    bool waitFor(const QString& message) {
        return QTest::qWaitFor(
                   [&] {
                       m_messages += QString::fromUtf8(m_process.readAllStandardError());
                       return m_messages.contains(message) ||
                              m_process.state() == QProcess::NotRunning;
                   },
                   8000) &&
               m_messages.contains(message);
    }

    bool upload(const std::string& body) {
        return RawClient::ask(port, "POST /upload HTTP/1.1\r\nContent-Length: " +
                                        std::to_string(body.size()) + "\r\n\r\n" + body)
            .starts_with("HTTP/1.1 200");
    }

    void signal(int signal) {
        if (m_process.state() == QProcess::Running)
            kill(-pid(), signal);
    }

    int end(int number = SIGINT) {
        signal(number);
        m_process.waitForFinished(10'000);
        m_messages += QString::fromUtf8(m_process.readAllStandardError());
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    QString messages() const { return m_messages; }

    /// The process that reads a photo; 0 when there is none within a second.
    pid_t reader() const {
        pid_t child = 0;
        const auto find = [&] {
            for (const QString& task :
                 QDir(proc("task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
                child = std::max(child,
                                 contentsOf(proc("task/" + task + "/children")).trimmed().toInt());
            return contentsOf(QStringLiteral("/proc/%1/cmdline").arg(child)).contains("--json");
        };
        return QTest::qWaitFor(find, 1000) ? child : 0;
    }

    /// The files in `folder` as the program sees it.
    QStringList files(const QString& folder) const {
        return QDir(proc("root") + folder)
            .entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    quint16 port = 0;

private:
    pid_t pid() const { return static_cast<pid_t>(m_process.processId()); }
    QString proc(const QString& what) const {
        return QStringLiteral("/proc/%1/%2").arg(pid()).arg(what);
    }

    QProcess m_process;
    QString m_messages;
};

} // namespace

class ServeCommandTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsItsAddressAndEndsCleanly() {
        const struct {
            int signal;
            std::size_t size;
            QString shown;
        } cases[] = {{SIGINT, 1, "(1 bajt)"},
                     {SIGTERM, 512, "(512 B)"},
                     {SIGHUP, 3'400'000, "(3,4 MB)"},
                     {SIGINT, 999'949, "(999,9 kB)"},
                     {SIGINT, 999'950, "(1,0 MB)"}};
        for (const auto& [signal, size, shown] : cases) {
            Serve serve({});
            QVERIFY(serve.port != 0);
            QVERIFY(serve.messages().contains(QStringLiteral("▀▀▀▀▀▀▀"))); // a finder pattern
            QVERIFY(RawClient::ask(serve.port, "GET /ping\r\n\r\n").ends_with("ok"));
            QVERIFY(serve.upload(std::string(size, 'x')));
            QVERIFY(serve.waitFor(QStringLiteral("Odebrano zdjęcie %1.").arg(shown)));
            QCOMPARE(serve.end(signal), 0);
        }
    }

    void readsWhatItHasBeforeItEnds() {
        const struct {
            bool isReaderStuck;
            int signals;
            int exitCode;
            QString message;
        } cases[] = {{false, 1, 0, "Zdjęcie: nie można odczytać zdjęcia"},
                     {true, 1, 1, "Nierozpoznane zdjęcia: 1"}, // not for ever
                     {true, 2, 128 + SIGINT, "Odczytuję jeszcze odebrane zdjęcia (1)"}};
        for (const auto& [isReaderStuck, signals, exitCode, message] : cases) {
            Serve serve({});
            QVERIFY(serve.upload("\xFF\xD8\xFF\xE0" + std::string(3'000'000, 'x')));
            const pid_t reader = isReaderStuck ? serve.reader() : 0;
            const auto cleanUp = qScopeGuard([=] {
                if (reader > 0)
                    kill(reader, SIGKILL);
            });
            if (isReaderStuck)
                QVERIFY(reader > 0 && kill(reader, SIGSTOP) == 0);
            if (signals == 2) {
                serve.signal(SIGINT);
                QVERIFY(serve.waitFor(QStringLiteral("Odczytuję")));
            }
            QCOMPARE(serve.end(), exitCode);
            QVERIFY2(serve.messages().contains(message), qPrintable(serve.messages()));
            QVERIFY2(!serve.messages().contains("qt."), qPrintable(serve.messages()));
        }
    }

    void savesEveryPhotoUnderAFreeName() {
        const QTemporaryDir folder;
        Serve serve({"--save-photos", folder.path()});
        const std::string jpeg = "\xFF\xD8\xFF\xE0 obraz";
        // The last two hold a JPEG marker by chance.
        const std::string photos[] = {jpeg,
                                      jpeg + "2",
                                      "--granica\r\n\r\n" + jpeg,
                                      "nic znanego",
                                      "\x89PNG\r\n\x1A\n....\xFF\xD8....",
                                      "\0\0\0\x20"
                                      "ftypheic....\xFF\xD8...."s};
        for (const std::string& photo : photos)
            QVERIFY(serve.upload(photo));
        const QDir there(folder.path());
        QVERIFY(QTest::qWaitFor([&] { return there.entryList(QDir::Files).size() == 6; }));
        QCOMPARE(serve.end(), 0);

        QList<QByteArray> saved;
        static const QRegularExpression name(
            QStringLiteral("^zdjecie_\\d{8}_\\d{6}(_\\d+)?\\.(jpg|png|heic|bin)$"));
        for (const QFileInfo& file : there.entryInfoList(QDir::Files | QDir::Hidden)) {
            QVERIFY2(name.match(file.fileName()).hasMatch(), qPrintable(file.fileName()));
            QVERIFY(serve.messages().contains(file.filePath()));
            QCOMPARE(file.permissions() & ~QFile::Permissions(0x0700), QFile::Permissions(0x6000));
            saved << file.suffix().toLatin1() + ' ' + contentsOf(file.filePath());
        }
        std::ranges::sort(saved);
        QList<QByteArray> expected{"jpg " + QByteArray::fromStdString(jpeg),
                                   "jpg " + QByteArray::fromStdString(jpeg + "2"),
                                   "jpg " + QByteArray::fromStdString(jpeg),
                                   "bin nic znanego",
                                   "png " + QByteArray::fromStdString(photos[4]),
                                   "heic " + QByteArray::fromStdString(photos[5])};
        std::ranges::sort(expected);
        QCOMPARE(saved, expected);
    }

    void saysWhyItCouldNotSave() {
        const QStringList onSmallDisk{"unshare",
                                      "--user",
                                      "--map-root-user",
                                      "--mount",
                                      "sh",
                                      "-c",
                                      "mount -t tmpfs -o size=64k none \"$4\" && exec \"$@\"",
                                      "sh"};
        const std::pair<QStringList, QString> cases[] = {
            {{}, "folderu już nie ma"},
            {{"prlimit", "--fsize=65536"}, "plik byłby za duży"},
            {onSmallDisk, "na dysku zabrakło miejsca"}};
        for (const auto& [starter, reason] : cases) {
            QTemporaryDir folder;
            Serve serve({"--save-photos", folder.path()}, starter);
            if (serve.messages().contains("unshare:"))
                QSKIP("disks cannot be mounted here");
            if (starter.isEmpty())
                folder.remove();
            QVERIFY(serve.upload(std::string(100'000, 'x')));
            QVERIFY2(serve.waitFor("ale nie udało się go zapisać: " + reason),
                     qPrintable(serve.messages()));
            QCOMPARE(serve.files(folder.path()), QStringList()); // nothing half-written
            QVERIFY(RawClient::ask(serve.port, "GET /ping\r\n\r\n").ends_with("ok")); // goes on
            QCOMPARE(serve.end(), 1);
        }
    }

    void refusesABusyPort() {
        Serve first({});
        Serve second({"--port", QString::number(first.port)});
        QCOMPARE(second.end(), 1);
        QVERIFY(second.messages().contains(
            QStringLiteral("Nie można otworzyć portu %1").arg(first.port)));
        QCOMPARE(first.end(), 0);
    }

    void refusesWrongUsage() {
        QList<std::pair<QStringList, QString>> cases{
            {{"--port"}, "Brakuje wartości"},
            {{"--prot", "80"}, "--prot"},
            {{"80"}, "Nieoczekiwany argument: 80"},
            {{"--save-photos", "/nie/ma"}, "nie istnieje: /nie/ma"},
            {{"--save-photos", KOPERTAL_PROGRAM}, "To nie jest folder"}};
        for (const char* port :
             {"0", "65536", "-1", "+80", " 80", "80x", "", "99999999999999999999"})
            cases.append({{"--port", port}, "Port musi być liczbą"});
        for (const auto& [options, message] : cases) {
            const auto run = runCommand(KOPERTAL_PROGRAM, QStringList{"serve"} + options);
            QCOMPARE(run.exitCode, options[0] == "--save-photos" ? 1 : 2);
            QVERIFY2(run.messages.contains(message), qPrintable(run.messages));
        }
    }
};

QTEST_GUILESS_MAIN(ServeCommandTest)
#include "ServeCommandTest.moc"
