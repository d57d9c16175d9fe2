#include "scan/PhotoRecognizer.h"

#include "scan/PhotoWorker.h"
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
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <optional>
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
RecognizerOptions shell(const QString& script) {
    RecognizerOptions options;
    options.program = QStringLiteral("/bin/sh");
    options.arguments = {QStringLiteral("-c"), script};
    options.patience = 2s;
    return options;
}

RecognizerOptions program() {
    RecognizerOptions options;
    options.program = QStringLiteral(KOPERTAL_PROGRAM);
    return options;
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

RegisterPhoto screenshot(const char* format = "png") {
    return makeScreenshot({{QStringLiteral("Code128"), QStringLiteral("RR473124829PL")}}, format);
}

qint64 peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return qint64(usage.ru_maxrss) * 1024;
}

const char* const eatsMemory = "eats-memory";

/// A recognition process that takes what it gets and says "none" when that was more than a
/// gigabyte.
int eatMemory() {
    if (!enterSandbox().isEmpty())
        return 2;
    constexpr size_t part = size_t(16) << 20;
    for (size_t total = 0; total < size_t(1) << 30; total += part) {
        void* const taken = malloc(part);
        if (taken == nullptr)
            abort(); // as the libraries do
        memset(taken, 1, part);
    }
    puts("[{\"outcome\":\"none\"}]");
    return 0;
}

const char* const worksBriefly = "works-briefly";

/// Starts the program's recognition process, which then awaits its photo.
void startInSandbox(QProcess& worker) {
    worker.start(KOPERTAL_PROGRAM, {"scan", "--json", "-"});
    QVERIFY(worker.waitForStarted());
    const QString status = QString("/proc/%1/status").arg(worker.processId());
    QTRY_VERIFY_WITH_TIMEOUT(contentsOf(status).contains("Seccomp:\t2"), patience);
}

/// How the child ended; nothing, and it is ended, when it has not within the test's patience.
std::optional<int> statusOf(pid_t child) {
    int status = 0;
    if (QTest::qWaitFor([&] { return waitpid(child, &status, WNOHANG) == child; }, patience))
        return status;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return {};
}

/// Runs `attempt` in a child that has entered the sandbox; gives what it returned.
int inSandbox(int (*attempt)()) {
    const pid_t child = fork();
    if (child == 0) {
        if (!enterSandbox().isEmpty())
            _exit(100);
        _exit(attempt());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 101;
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

    void limitsTheMemoryOfAProcess() {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizer's own memory cannot be limited");
#endif
        RecognizerOptions options;
        options.program = QCoreApplication::applicationFilePath();
        options.arguments = {QString::fromLatin1(eatsMemory)};
        PhotoRecognizer recognizer(options);
        QCOMPARE(recognize(recognizer, photoBytes("x")).outcome, PhotoOutcome::unreadable);
    }

    void limitsEveryProcess() {
        QProcess worker;
        startInSandbox(worker);
        const auto limit = [&](const QString& name) {
            const QString file = QString("/proc/%1/limits").arg(worker.processId());
            const QString limits = QString::fromUtf8(contentsOf(file));
            return limits.section('\n' + name, 1).section('\n', 0, 0).simplified();
        };
        QCOMPARE(limit("Max cpu time"), "20 25 seconds");
        QCOMPARE(limit("Max core file size"), "0 0 bytes");
#ifndef __SANITIZE_ADDRESS__
        QCOMPARE(limit("Max data size"), "805306368 805306368 bytes");
#endif
        worker.closeWriteChannel();
        QVERIFY(worker.waitForFinished(patience));
    }

    void limitsTheProcessorTimeOfAProcess() {
        const pid_t child = fork();
        if (child == 0) {
            if (!enterSandbox({.processor = 1s}).isEmpty())
                _exit(100);
            for (volatile unsigned turns = 0;;)
                turns = turns + 1;
        }
        const std::optional<int> status = statusOf(child);
        QVERIFY(status);
        QVERIFY(WIFSIGNALED(*status));
        QCOMPARE(WTERMSIG(*status), SIGXCPU);
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
        int output[2];
        QCOMPARE(pipe2(output, O_CLOEXEC | O_NONBLOCK), 0);
        while (write(output[1], "x", 1) == 1) {
        }
        QCOMPARE(fcntl(output[1], F_SETFL, 0), 0); // its writes wait
        QElapsedTimer clock;
        clock.start();
        const pid_t worker = fork();
        if (worker == 0) {
            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
            dup2(output[1], STDOUT_FILENO);
            execl("/proc/self/exe", "PhotoRecognizerTest", worksBriefly, nullptr);
            _exit(127);
        }
        const std::optional<int> status = statusOf(worker);
        close(output[0]);
        close(output[1]);
        QVERIFY(status);
        QVERIFY(clock.elapsed() >= 1000);
        if (WIFSIGNALED(*status)) // without its handler, under the sanitizer
            QCOMPARE(WTERMSIG(*status), SIGALRM);
        else
            QCOMPARE(WEXITSTATUS(*status), 1);
    }

    void worksOnAFewAtATime() {
        const QTemporaryDir folder;
        const QString script = "cat >/dev/null; : >'%1'/$$; until [ -e '%1'/go ]; do sleep 0.05; "
                               "done; echo '[{\"outcome\":\"none\"}]'";
        RecognizerOptions options = shell(script.arg(folder.path()));
        options.patience = 60s;
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
        std::vector<QFuture<PhotoResult>> results;
        for (int i = 0; i < 5; ++i)
            results.push_back(recognizer->recognize(photoBytes("x")));
        QTest::qWait(100);
        recognizer.reset();
        for (const QFuture<PhotoResult>& result : results) {
            QVERIFY(result.isFinished());
            QCOMPARE(result.resultCount(), 1);
        }
    }

    void readsEveryFormatWithoutRights() {
        PhotoRecognizer recognizer(program());
        for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp"})
            QVERIFY2(texts(recognize(recognizer, photoBytes(screenshot(format).jpeg))) ==
                         QStringList{"RR473124829PL"},
                     format);
        for (const char* other : {"no photo", ""})
            QCOMPARE(recognize(recognizer, photoBytes(other)).outcome, PhotoOutcome::unreadable);
        RecognizerOptions options;
        options.program = QStringLiteral("/nonexistent");
        PhotoRecognizer lost(options);
        QCOMPARE(recognize(lost, photoBytes("x")).outcome, PhotoOutcome::unreadable);
    }

    /// Pictures of that size are converted on threads, which must be able to start.
    void readsALargeTransparentPicture() {
        const QImage picture = QImage::fromData(screenshot("png").jpeg)
                                   .scaledToWidth(2600)
                                   .convertToFormat(QImage::Format_RGBA8888);
        QByteArray bytes;
        QBuffer file(&bytes);
        QVERIFY(picture.save(&file, "tiff"));
        PhotoRecognizer recognizer(program());
        QCOMPARE(texts(recognize(recognizer, photoBytes(bytes))), QStringList{"RR473124829PL"});
    }

    void triesTheWholeUpload() {
        // What follows a JPEG's marker in the middle of a PNG is rubbish.
        QByteArray upload = screenshot().jpeg;
        const auto owner = std::make_shared<const QByteArray>(upload);
        const QByteArrayView whole(*owner);
        PhotoRecognizer recognizer(program());
        QCOMPARE(texts(recognize(recognizer, {whole.sliced(whole.size() / 2), whole, owner})),
                 QStringList{"RR473124829PL"});
        QCOMPARE(texts(recognize(recognizer, {whole, whole, owner})), QStringList{"RR473124829PL"});
    }

    void givesUpItsRights() {
        QCOMPARE(inSandbox([] { return open("/etc/hostname", O_RDONLY) < 0 ? 0 : 1; }), 0);
        QCOMPARE(inSandbox([] {
                     return open("/tmp/kopertal-new", O_CREAT | O_WRONLY, 0600) < 0 ? 0 : 1;
                 }),
                 0);
        QCOMPARE(inSandbox([] { return socket(AF_INET, SOCK_STREAM, 0) < 0 ? 0 : 1; }), 0);
        QCOMPARE(inSandbox([] { return socket(AF_UNIX, SOCK_STREAM, 0) < 0 ? 0 : 1; }), 0);
        QCOMPARE(inSandbox([] { return fork() < 0 ? 0 : 1; }), 0);
        QCOMPARE(inSandbox([] {
                     char* const arguments[] = {nullptr};
                     execve("/bin/true", arguments, arguments);
                     return errno == EPERM ? 0 : 1;
                 }),
                 0);
        static const int starters = open("/etc/hostname", O_RDONLY);
        QVERIFY(starters > STDERR_FILENO);
        QCOMPARE(
            inSandbox([] { return lseek(starters, 0, SEEK_CUR) < 0 && errno == EBADF ? 0 : 1; }),
            0);
        close(starters);
    }

    void endsWithItsStarter() {
        int input[2];
        int output[2];
        QVERIFY(pipe(input) == 0 && pipe(output) == 0);
        const pid_t worker = fork();
        if (worker == 0) {
            dup2(input[0], STDIN_FILENO);
            dup2(output[1], STDOUT_FILENO);
            for (const int end : {input[0], input[1], output[0], output[1]})
                close(end);
            execl(KOPERTAL_PROGRAM, "kopertal", "scan", "--json", "-", nullptr);
            _exit(127);
        }
        close(output[1]);
        QTest::qWait(300);
        QCOMPARE(waitpid(worker, nullptr, WNOHANG), 0);
        close(output[0]); // as at the starter's end, while its other pipe is still open
        int status = 0;
        const bool isEnded =
            QTest::qWaitFor([&] { return waitpid(worker, &status, WNOHANG) == worker; }, 10'000);
        if (!isEnded)
            kill(worker, SIGKILL);
        close(input[0]);
        close(input[1]);
        QVERIFY(isEnded);
        QCOMPARE(WEXITSTATUS(status), 1);
    }
};

int main(int argc, char** argv) {
    if (argc == 2 && strcmp(argv[1], eatsMemory) == 0)
        return eatMemory();
    if (argc == 2 && strcmp(argv[1], worksBriefly) == 0)
        runPhotoWorker({.total = 1s});
    QCoreApplication application(argc, argv);
    PhotoRecognizerTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "PhotoRecognizerTest.moc"
