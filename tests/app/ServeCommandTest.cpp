#include "tests/support/Files.h"
#include "tests/support/PhotoUpload.h"
#include "tests/support/RunCommand.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <tuple>

using namespace kopertal::test;

namespace {

/// The program's command, running as a terminal would run it: in a process group of its own.
class Serve : public QProcess {
public:
    /// `starter` is a command that starts another one.
    explicit Serve(const QStringList& options = {}, const QStringList& starter = {}) {
        start("setsid", starter + QStringList{KOPERTAL_PROGRAM, "serve"} + options);
        waitFor("Ctrl+C");
        static const QRegularExpression address("^http://[0-9.]+:([0-9]+)$",
                                                QRegularExpression::MultilineOption);
        port = address.match(messages).captured(1).toUShort();
    }
    ~Serve() override { end(SIGKILL); }

    bool waitFor(const QString& message) {
        return QTest::qWaitFor(
            [&] {
                messages += QString::fromUtf8(readAllStandardError());
                return messages.contains(message);
            },
            8000);
    }

    int end(int signal = SIGINT) {
        if (state() == Running)
            ::kill(-static_cast<pid_t>(processId()), signal);
        waitForFinished(10'000);
        messages += QString::fromUtf8(readAllStandardError());
        return exitStatus() == NormalExit ? exitCode() : -1;
    }

    quint16 port = 0;
    QString messages;
};

} // namespace

class ServeCommandTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsWhatItHasBeforeItEnds() {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            Serve serve({"--verbose"});
            QVERIFY(serve.messages.contains("▀▀▀▀▀▀▀")); // a finder pattern
            QVERIFY(upload(serve.port, photo({"RR473124829PL"})));
            QCOMPARE(serve.end(signal), 0);
            QCOMPARE(serve.readAllStandardOutput(), "RR473124829PL\n");
            QVERIFY(serve.messages.contains(" kopertal.photo: zdjęcie po "));
            for (const char* other : {"qt.", "473124829"}) // which the log keeps to itself
                QVERIFY2(!serve.messages.contains(other), qPrintable(serve.messages));
        }
    }

    void waitsForNoPhotoForEver() {
        Serve serve;
        QVERIFY(upload(serve.port, makeRegisterPhoto({.subject = Subject::codeless}).jpeg));
        const auto children = QString("/proc/%1/task/%1/children").arg(serve.processId());
        const auto reader = [&] { return contentsOf(children).trimmed(); };
        QTRY_VERIFY(contentsOf("/proc/" + reader() + "/cmdline").contains("--json"));
        QCOMPARE(kill(reader().toInt(), SIGSTOP), 0);
        QCOMPARE(serve.end(), 1);
        QVERIFY(serve.messages.contains("Odczytuję jeszcze odebrane zdjęcia (1)"));
        QVERIFY(serve.messages.contains("Nierozpoznane zdjęcia: 1"));
    }

    void savesEveryPhotoUnderAFreeName() {
        const QByteArray jpeg = "\xFF\xD8\xFF\xE0 obraz";
        const std::tuple<QByteArray, QByteArray, QString> uploads[] = {
            {"", jpeg, "jpg"},
            {"", jpeg + "2", "jpg"},
            {"--granica\r\n\r\n", jpeg, "jpg"},
            {"", "nic znanego", "bin"},
            {"", "\x89PNG\r\n\x1A\n....\xFF\xD8....", "png"}}; // with a JPEG's marker by chance
        const QTemporaryDir folder;
        const QDir there(folder.path());
        Serve serve({"--save-photos", folder.path()});
        QStringList expected;
        for (const auto& [before, photo, ending] : uploads) {
            QVERIFY(upload(serve.port, before + photo));
            expected << ending + QString::fromLatin1(photo);
        }
        QTRY_COMPARE(there.entryList(QDir::Files).size(), expected.size());
        QCOMPARE(serve.end(), 0);

        QStringList found;
        static const QRegularExpression name("^zdjecie_\\d{8}_\\d{6}(_\\d+)?\\.(jpg|png|bin)$");
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

    void goesOnWhenItCannotSave() {
        const QTemporaryDir folder;
        Serve serve({"--save-photos", folder.path()}, {"prlimit", "--fsize=65536"});
        QVERIFY(upload(serve.port, QByteArray(100'000, 'x')));
        QVERIFY(serve.waitFor("ale nie udało się go zapisać: plik byłby za duży"));
        QVERIFY(QDir(folder.path()).isEmpty(QDir::Files | QDir::Hidden)); // nothing half-written
        QVERIFY(upload(serve.port, "x"));
        QVERIFY(serve.waitFor("Odebrano zdjęcie (1 bajt): " + folder.path()));
        QCOMPARE(serve.end(), 1);
    }

    void refusesWrongUsage() {
        Serve first;
        const QString busy = QString::number(first.port);
        const std::tuple<QStringList, int, QString> cases[] = {
            {{"--port", "65536"}, 2, "Port musi być liczbą"},
            {{"--port", "80x"}, 2, "Port musi być liczbą"},
            {{"--port", busy}, 1, "Nie można otworzyć portu " + busy},
            {{"--save-photos", "/nie/ma"}, 1, "nie istnieje: /nie/ma"}};
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
