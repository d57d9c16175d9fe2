#include "tests/support/Files.h"
#include "tests/support/RawClient.h"
#include "tests/support/RunCommand.h"

#include <QDir>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <tuple>

using namespace kopertal::test;
using namespace std::string_literals;

namespace {

const std::string jpeg = "\xFF\xD8\xFF\xE0 obraz";

/// The program's command, running as a terminal would run it: in a process group of its own.
class Serve {
public:
    /// `starter` is a command that starts another one.
    explicit Serve(const QStringList& options = {}, const QStringList& starter = {}) {
        m_process.start("setsid", starter + QStringList{KOPERTAL_PROGRAM, "serve"} + options);
        waitFor("Ctrl+C");
        static const QRegularExpression address("^http://[0-9.]+:([0-9]+)$",
                                                QRegularExpression::MultilineOption);
        port = address.match(messages).captured(1).toUShort();
    }

    /// Whether it says so before it ends.
    bool waitFor(const QString& message) {
        const auto isSaid = [&] {
            messages += QString::fromUtf8(m_process.readAllStandardError());
            return messages.contains(message);
        };
        const auto hasEnded = [&] { return m_process.state() == QProcess::NotRunning; };
        return QTest::qWaitFor([&] { return isSaid() || hasEnded(); }, 8000) && isSaid();
    }

    bool upload(const std::string& body) const {
        return RawClient::ask(port, "POST /upload HTTP/1.1\r\nContent-Length: " +
                                        std::to_string(body.size()) + "\r\n\r\n" + body)
            .starts_with("HTTP/1.1 200");
    }

    bool answers() const { return RawClient::ask(port, "GET /ping\r\n\r\n").ends_with("ok"); }

    void signal(int number) const {
        if (m_process.state() == QProcess::Running)
            kill(-static_cast<pid_t>(m_process.processId()), number);
    }

    int end(int number = SIGINT) {
        signal(number);
        m_process.waitForFinished(10'000);
        messages += QString::fromUtf8(m_process.readAllStandardError());
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    /// The process that reads a photo; 0 when there is none within a second.
    pid_t reader() const {
        const auto children =
            QStringLiteral("/proc/%1/task/%1/children").arg(m_process.processId());
        pid_t child = 0;
        const auto find = [&] {
            child = contentsOf(children).trimmed().toInt();
            return contentsOf(QStringLiteral("/proc/%1/cmdline").arg(child)).contains("--json");
        };
        return QTest::qWaitFor(find, 1000) ? child : 0;
    }

    quint16 port = 0;
    QString messages;

private:
    QProcess m_process;
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
            Serve serve;
            QVERIFY(serve.messages.contains("▀▀▀▀▀▀▀")); // a finder pattern
            QVERIFY(serve.answers());
            QVERIFY(serve.upload(std::string(size, 'x')));
            QVERIFY(serve.waitFor("Odebrano zdjęcie " + shown));
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
            Serve serve;
            QVERIFY(serve.upload(jpeg + std::string(3'000'000, 'x')));
            const pid_t reader = isReaderStuck ? serve.reader() : 0;
            const auto cleanUp = qScopeGuard([=] {
                if (reader > 0)
                    kill(reader, SIGKILL);
            });
            if (isReaderStuck)
                QVERIFY(reader > 0 && kill(reader, SIGSTOP) == 0);
            if (signals == 2) {
                serve.signal(SIGINT);
                QVERIFY(serve.waitFor("Odczytuję"));
            }
            QCOMPARE(serve.end(), exitCode);
            QVERIFY2(serve.messages.contains(message), qPrintable(serve.messages));
            QVERIFY2(!serve.messages.contains("qt."), qPrintable(serve.messages));
        }
    }

    void savesEveryPhotoUnderAFreeName() {
        const struct {
            std::string before, photo;
            const char* ending;
        } uploads[] = {{"", jpeg, "jpg"},
                       {"", jpeg + "2", "jpg"},
                       {"--granica\r\n\r\n", jpeg, "jpg"},
                       {"", "nic znanego", "bin"},
                       // These hold a JPEG marker by chance.
                       {"", "\x89PNG\r\n\x1A\n....\xFF\xD8....", "png"},
                       {"", "\0\0\0 ftypheic....\xFF\xD8...."s, "heic"}};
        const QTemporaryDir folder;
        const QDir there(folder.path());
        Serve serve({"--save-photos", folder.path()});
        QStringList expected;
        for (const auto& [before, photo, ending] : uploads) {
            QVERIFY(serve.upload(before + photo));
            expected << ending + QString::fromLatin1(photo);
        }
        QVERIFY(QTest::qWaitFor([&] { return there.entryList(QDir::Files).size() == 6; }));
        QCOMPARE(serve.end(), 0);

        QStringList found;
        static const QRegularExpression name(
            "^zdjecie_\\d{8}_\\d{6}(_\\d+)?\\.(jpg|png|heic|bin)$");
        for (const QFileInfo& file : there.entryInfoList(QDir::Files | QDir::Hidden)) {
            QVERIFY2(name.match(file.fileName()).hasMatch(), qPrintable(file.fileName()));
            QVERIFY(serve.messages.contains(file.filePath()));
            QCOMPARE(file.permissions() & ~QFile::Permissions(0x0700), QFile::Permissions(0x6000));
            found << file.suffix() + QString::fromLatin1(contentsOf(file.filePath()));
        }
        expected.sort();
        found.sort();
        QCOMPARE(found, expected);
    }

    void saysWhyItCouldNotSave() {
        const std::pair<QStringList, QString> cases[] = {
            {{}, "folderu już nie ma"}, {{"prlimit", "--fsize=65536"}, "plik byłby za duży"}};
        for (const auto& [starter, reason] : cases) {
            QTemporaryDir folder;
            Serve serve({"--save-photos", folder.path()}, starter);
            if (starter.isEmpty())
                folder.remove();
            QVERIFY(serve.upload(std::string(100'000, 'x')));
            QVERIFY2(serve.waitFor("ale nie udało się go zapisać: " + reason),
                     qPrintable(serve.messages));
            QVERIFY(
                QDir(folder.path()).isEmpty(QDir::Files | QDir::Hidden)); // nothing half-written
            QVERIFY(serve.answers());                                     // goes on
            QCOMPARE(serve.end(), 1);
        }
    }

    void refusesWrongUsage() {
        Serve first;
        const QString busy = QString::number(first.port);
        QList<std::tuple<QStringList, int, QString>> cases{
            {{"--port"}, 2, "Brakuje wartości"},
            {{"--prot", "80"}, 2, "--prot"},
            {{"80"}, 2, "Nieoczekiwany argument: 80"},
            {{"--save-photos", "/nie/ma"}, 1, "nie istnieje: /nie/ma"},
            {{"--save-photos", KOPERTAL_PROGRAM}, 1, "To nie jest folder"},
            {{"--port", busy}, 1, "Nie można otworzyć portu " + busy}};
        for (const char* port : {"0", "65536", "-1", "+80", " 80", "80x", ""})
            cases.append({{"--port", port}, 2, "Port musi być liczbą"});
        for (const auto& [options, exitCode, message] : cases) {
            const auto run = runCommand(KOPERTAL_PROGRAM, QStringList{"serve"} + options);
            QCOMPARE(run.exitCode, exitCode);
            QVERIFY2(run.messages.contains(message), qPrintable(run.messages));
        }
        QCOMPARE(first.end(), 0);
    }
};

QTEST_GUILESS_MAIN(ServeCommandTest)
#include "ServeCommandTest.moc"
