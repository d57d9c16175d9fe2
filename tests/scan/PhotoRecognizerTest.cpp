#include "scan/PhotoRecognizer.h"

#include "scan/WorkerSandbox.h"
#include "tests/support/Files.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <QBuffer>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kopertal;
using namespace kopertal::test;
using namespace std::chrono_literals;

namespace {

constexpr int patience = 60'000; // ms, for a loaded machine
const QStringList number{"RR473124829PL"};

/// A recognition process that does what a shell is told.
RecognizerOptions shell(const QString& script, std::chrono::seconds limit) {
    return {"/bin/sh", {"-c", script}, limit};
}

PhotoResult recognize(PhotoRecognizer& recognizer, const PhotoBytes& photo) {
    const QFuture<PhotoResult> result = recognizer.recognize(photo);
    if (!QTest::qWaitFor([&] { return result.isFinished(); }, patience) ||
        result.resultCount() != 1)
        qFatal("The recognition did not give one result");
    return result.result();
}

/// What the program itself reads.
QStringList textsOn(const PhotoBytes& photo) {
    PhotoRecognizer recognizer({KOPERTAL_PROGRAM});
    QStringList texts;
    for (const Barcode& read : recognize(recognizer, photo).numbers)
        texts.append(read.text);
    return texts;
}

QByteArray screenshot(const char* format = "png") {
    return makeScreenshot({{"Code128", number[0]}}, format).jpeg;
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
        const std::pair<const char*, std::chrono::seconds> cases[] = {
            {"cat >/dev/null; kill -9 $$", 60s},
            {"exec sleep 600", 2s}, // takes nothing
            {"cat >/dev/null; exec sleep 600", 2s},
            {"cat >/dev/null; echo '[{]'", 60s},
            {"cat >/dev/null; exec yes", 60s}, // too much
            {R"(echo '[{"outcome":"none"}]'; kill -9 $$)", 60s}};
        for (const auto& [script, limit] : cases) {
            PhotoRecognizer recognizer(shell(script, limit));
            QElapsedTimer timer;
            timer.start();
            const PhotoBytes photo = photoBytes(QByteArray(3'000'000, 'x'));
            for (int i = 0; i < 2; ++i)
                QVERIFY2(recognize(recognizer, photo).outcome == PhotoOutcome::unreadable, script);
            QVERIFY2(timer.elapsed() < 20'000, script);
        }
        PhotoRecognizer lost({"/nonexistent"});
        QCOMPARE(recognize(lost, photoBytes("x")).outcome, PhotoOutcome::unreadable);
    }

    void limitsEveryProcess() {
        for (const int signal : {SIGXCPU, SIGALRM}) {
            QProcess worker;
            startInSandbox(worker);
            const QString file = QString("/proc/%1/limits").arg(worker.processId());
            const QString limits = QString(contentsOf(file)).simplified();
            QVERIFY2(limits.contains("Max cpu time 20 25 seconds"), qPrintable(limits));
            QVERIFY2(limits.contains("Max core file size 0 0 bytes"), qPrintable(limits));
            QCOMPARE(kill(static_cast<pid_t>(worker.processId()), signal), 0); // its time is over
            QVERIFY(worker.waitForFinished(patience));
#ifndef __SANITIZE_ADDRESS__ // which takes memory and fatal signals for itself
            QVERIFY2(limits.contains("Max data size 805306368 805306368 bytes"),
                     qPrintable(limits));
            QCOMPARE(worker.exitStatus(), QProcess::NormalExit);
            const auto answer = photoResultFromJson(worker.readAllStandardOutput());
            QVERIFY(answer && answer->outcome == PhotoOutcome::unreadable);
#endif
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
        PhotoRecognizer recognizer(shell(script.arg(folder.path()), 60s));
        QList<QFuture<PhotoResult>> results;
        for (int i = 0; i < 5; ++i)
            results.append(recognizer.recognize(photoBytes("x")));
        const auto started = [&] { return QDir(folder.path()).entryList(QDir::Files).size(); };
        QTRY_VERIFY_WITH_TIMEOUT(started() >= 2, patience);
        QTest::qWait(300); // in which others would start
        QCOMPARE(started(), 2);
        writeFile(folder.filePath("go"), {});
        for (const QFuture<PhotoResult>& result : results) {
            QTRY_VERIFY_WITH_TIMEOUT(result.isFinished(), patience);
            QCOMPARE(result.result().outcome, PhotoOutcome::none);
        }
    }

    void readsEveryFormatWithoutRights() {
        for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp"})
            QVERIFY2(textsOn(photoBytes(screenshot(format))) == number, format);
        QCOMPARE(textsOn(photoBytes("no photo")), QStringList());
    }

    /// Pictures of that size are converted on threads, which must be able to start.
    void readsALargeTransparentPicture() {
        QImage ink = QImage::fromData(screenshot()).scaledToWidth(2600);
        ink.invertPixels();
        QImage picture(ink.size(), QImage::Format_RGBA8888);
        picture.fill(Qt::black);
        picture.setAlphaChannel(ink.convertToFormat(QImage::Format_Grayscale8));
        QBuffer file;
        QVERIFY(picture.save(&file, "tiff"));
        QCOMPARE(textsOn(photoBytes(file.data())), number);
    }

    void triesTheWholeUpload() {
        // What follows a JPEG's marker in the middle of a PNG is rubbish.
        const auto owner = std::make_shared<const QByteArray>(screenshot());
        const QByteArrayView whole(*owner);
        QCOMPARE(textsOn({whole.sliced(whole.size() / 2), whole, owner}), number);
    }

    void givesUpItsRights() {
        static const int starters = open("/etc/hostname", O_RDONLY);
        QVERIFY(starters > STDERR_FILENO);
        const std::pair<const char*, bool (*)()> attempts[] = {
            {"a file", [] { return open("/etc/hostname", O_RDONLY) >= 0; }},
            {"the starter's file", [] { return lseek(starters, 0, SEEK_CUR) >= 0; }},
            {"the network", [] { return socket(AF_INET, SOCK_STREAM, 0) >= 0; }},
            {"another process", [] { return fork() >= 0; }},
            {"another program",
             [] { return execl("/bin/false", "false", nullptr) == 0 || errno != EPERM; }},
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
