#include "scan/PhotoRecognizer.h"

#include "scan/WorkerSandbox.h"
#include "tests/support/Files.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace kopertal;
using namespace kopertal::test;
using namespace std::chrono_literals;

namespace {

constexpr int patience = 60'000; // ms, for a loaded machine

/// A recognition process that does what a shell is told.
RecognizerOptions shell(const QString& script, std::chrono::seconds limit = 2s) {
    return {"/bin/sh", {"-c", script}, limit};
}

PhotoResult recognize(PhotoRecognizer& recognizer, const PhotoBytes& photo) {
    const QFuture<PhotoResult> result = recognizer.recognize(photo);
    if (!QTest::qWaitFor([&] { return result.isFinished(); }, patience) ||
        result.resultCount() != 1)
        qFatal("The recognition did not give one result");
    return result.result();
}

QStringList texts(const PhotoResult& result) {
    QStringList texts;
    for (const Barcode& number : result.numbers)
        texts.append(number.text);
    return texts;
}

QByteArray screenshot(const char* format = "png") {
    return makeScreenshot({{"Code128", "RR473124829PL"}}, format).jpeg;
}

qint64 peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return qint64(usage.ru_maxrss) * 1024;
}

/// Starts the program's recognition process, which then awaits its photo.
void startInSandbox(QProcess& worker) {
    worker.start(KOPERTAL_PROGRAM, {"scan", "--json", "-"});
    QVERIFY(worker.waitForStarted());
    const QString status = QString("/proc/%1/status").arg(worker.processId());
    QTRY_VERIFY_WITH_TIMEOUT(contentsOf(status).contains("Seccomp:\t2"), patience);
}

} // namespace

class PhotoRecognizerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void outlivesAnyProcess() {
        for (const char* script :
             {"cat >/dev/null; kill -9 $$", "cat >/dev/null; kill -6 $$", "exit 0",
              "cat >/dev/null; exit 3", "cat >/dev/null; exec sleep 600", "exec sleep 600",
              "exec >&-; exec sleep 600", "cat >/dev/null; echo '[{]'", "cat >/dev/null; exec yes",
              R"(echo '[{"outcome":"none"}]'; kill -9 $$)"}) {
            PhotoRecognizer recognizer(shell(script));
            const qint64 memory = peakMemory();
            QElapsedTimer timer;
            timer.start();
            const PhotoBytes photo = photoBytes(QByteArray(3'000'000, 'x'));
            QVERIFY2(recognize(recognizer, photo).outcome == PhotoOutcome::unreadable, script);
            QVERIFY2(timer.elapsed() < 20'000, script);
            QVERIFY2(peakMemory() - memory < qint64(64) << 20, "an endless answer is not kept");
            QVERIFY2(recognize(recognizer, photo).outcome == PhotoOutcome::unreadable, script);
        }
    }

    void limitsEveryProcess() {
        QProcess worker;
        startInSandbox(worker);
        const QString file = QString("/proc/%1/limits").arg(worker.processId());
        const QString limits = QString(contentsOf(file)).simplified();
        QVERIFY2(limits.contains("Max cpu time 20 25 seconds"), qPrintable(limits));
        QVERIFY2(limits.contains("Max core file size 0 0 bytes"), qPrintable(limits));
#ifndef __SANITIZE_ADDRESS__
        QVERIFY2(limits.contains("Max data size 805306368 805306368 bytes"), qPrintable(limits));
#endif
        worker.closeWriteChannel();
        QVERIFY(worker.waitForFinished(patience));
    }

    void answersWhenItsTimeIsOver() {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("Fatal signals are left to the sanitizer");
#endif
        for (const int signal : {SIGXCPU, SIGALRM}) {
            QProcess worker;
            startInSandbox(worker);
            QCOMPARE(kill(static_cast<pid_t>(worker.processId()), signal), 0);
            QVERIFY(worker.waitForFinished(patience));
            QCOMPARE(worker.exitStatus(), QProcess::NormalExit);
            const auto answer = photoResultFromJson(worker.readAllStandardOutput());
            QVERIFY(answer);
            QCOMPARE(answer->outcome, PhotoOutcome::unreadable);
        }
    }

    /// It cannot finish: nobody takes its answer.
    void limitsTheWholeTimeOfAProcess() {
        QProcess reader;
        QProcess worker;
        worker.setStandardOutputProcess(&reader);
        reader.start("sleep", {"600"}); // from a pipe that another program keeps full
        QElapsedTimer clock;
        clock.start();
        worker.start("/bin/sh", {"-c", R"(cat /dev/zero & exec "$0" scan --json - </dev/null)",
                                 KOPERTAL_PROGRAM});
        QVERIFY(worker.waitForFinished(patience));
        QVERIFY(clock.elapsed() >= 30'000);
        // Without its handler, under the sanitizer, it dies of the signal.
        QCOMPARE(worker.exitCode(), worker.exitStatus() == QProcess::NormalExit ? 1 : SIGALRM);
        reader.kill();
        QVERIFY(reader.waitForFinished());
    }

    void worksOnAFewAtATime() {
        const QTemporaryDir folder;
        const QString script = "cat >/dev/null; : >'%1'/$$; until [ -e '%1'/go ]; do sleep 0.05; "
                               "done; echo '[{\"outcome\":\"none\"}]'";
        const RecognizerOptions options = shell(script.arg(folder.path()), 60s);
        QCOMPARE(options.atOnce, 2);
        PhotoRecognizer recognizer(options);
        QList<QFuture<PhotoResult>> results;
        for (int i = 0; i < 5; ++i)
            results.append(recognizer.recognize(photoBytes("x")));
        const auto started = [&] { return QDir(folder.path()).entryList(QDir::Files).size(); };
        QTRY_VERIFY_WITH_TIMEOUT(started() >= 2, patience);
        QTest::qWait(300); // in which others would start
        QCOMPARE(started(), 2);
        writeFile(folder.filePath("go"), {});
        for (const QFuture<PhotoResult>& result : std::as_const(results)) {
            QTRY_VERIFY_WITH_TIMEOUT(result.isFinished(), patience);
            QCOMPARE(result.result().outcome, PhotoOutcome::none);
        }
        QCOMPARE(started(), 6);
    }

    void finishesWhatItLeavesBehind() {
        auto recognizer = std::make_unique<PhotoRecognizer>(shell("exec sleep 600"));
        QList<QFuture<PhotoResult>> results;
        for (int i = 0; i < 5; ++i)
            results << recognizer->recognize(photoBytes("x"));
        QTest::qWait(100);
        recognizer.reset();
        for (const QFuture<PhotoResult>& result : results) {
            QVERIFY(result.isFinished());
            QCOMPARE(result.resultCount(), 1);
        }
    }

    void readsEveryFormatWithoutRights() {
        PhotoRecognizer recognizer({KOPERTAL_PROGRAM});
        for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp"})
            QVERIFY2(texts(recognize(recognizer, photoBytes(screenshot(format)))) ==
                         QStringList{"RR473124829PL"},
                     format);
        for (const char* other : {"no photo", ""})
            QCOMPARE(recognize(recognizer, photoBytes(other)).outcome, PhotoOutcome::unreadable);
        PhotoRecognizer lost({"/nonexistent"});
        QCOMPARE(recognize(lost, photoBytes("x")).outcome, PhotoOutcome::unreadable);
    }

    /// Pictures of that size are converted on threads, which must be able to start.
    void readsALargeTransparentPicture() {
        const QImage picture = QImage::fromData(screenshot())
                                   .scaledToWidth(2600)
                                   .convertToFormat(QImage::Format_RGBA8888);
        QByteArray bytes;
        QBuffer file(&bytes);
        QVERIFY(picture.save(&file, "tiff"));
        PhotoRecognizer recognizer({KOPERTAL_PROGRAM});
        QCOMPARE(texts(recognize(recognizer, photoBytes(bytes))), QStringList{"RR473124829PL"});
    }

    void triesTheWholeUpload() {
        // What follows a JPEG's marker in the middle of a PNG is rubbish.
        const auto owner = std::make_shared<const QByteArray>(screenshot());
        const QByteArrayView whole(*owner);
        PhotoRecognizer recognizer({KOPERTAL_PROGRAM});
        QCOMPARE(texts(recognize(recognizer, {whole.sliced(whole.size() / 2), whole, owner})),
                 QStringList{"RR473124829PL"});
        QCOMPARE(texts(recognize(recognizer, {whole, whole, owner})), QStringList{"RR473124829PL"});
    }

    void givesUpItsRights() {
        static const int starters = open("/etc/hostname", O_RDONLY);
        QVERIFY(starters > STDERR_FILENO);
        const struct {
            const char* what;
            bool (*succeeds)();
        } attempts[] = {
            {"reading a file", [] { return open("/etc/hostname", O_RDONLY) >= 0; }},
            {"writing a file",
             [] { return open("/tmp/kopertal-new", O_CREAT | O_WRONLY, 0600) >= 0; }},
            {"using the starter's", [] { return lseek(starters, 0, SEEK_CUR) >= 0; }},
            {"the network", [] { return socket(AF_INET, SOCK_STREAM, 0) >= 0; }},
            {"other programs", [] { return socket(AF_UNIX, SOCK_STREAM, 0) >= 0; }},
            {"another process", [] { return fork() >= 0; }},
            {"starting a program",
             [] { return execl("/bin/false", "false", nullptr) == 0 || errno != EPERM; }},
#ifndef __SANITIZE_ADDRESS__ // whose own memory cannot be limited
            {"a gigabyte",
             [] {
                 return mmap(nullptr, size_t(1) << 30, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
             }},
#endif
        };
        for (const auto& [what, succeeds] : attempts) {
            const pid_t child = fork();
            if (child == 0)
                _exit(enterSandbox().isEmpty() && !succeeds() ? 0 : 1);
            int status = 0;
            QCOMPARE(waitpid(child, &status, 0), child);
            QVERIFY2(WIFEXITED(status) && WEXITSTATUS(status) == 0, what);
        }
        close(starters);
    }

    void endsWithItsStarter() {
        QProcess reader;
        QProcess worker;
        worker.setStandardOutputProcess(&reader);
        reader.start("sleep", {"600"});
        startInSandbox(worker);
        reader.kill(); // while the other pipe is still open
        QVERIFY(reader.waitForFinished());
        QVERIFY(worker.waitForFinished(10'000));
        QCOMPARE(worker.exitCode(), 1);
    }
};

QTEST_GUILESS_MAIN(PhotoRecognizerTest)
#include "PhotoRecognizerTest.moc"
