#include "scan/PhotoWorker.h"

#include "scan/PhotoPipeline.h"
#include "scan/WorkerSandbox.h"

#include <QBuffer>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace kopertal {
namespace {

constexpr qsizetype largestUpload = qsizetype(64) << 20;

struct Answer {
    QByteArray text;
    int exitCode;
};

/// What is written if the process has to end here and now.
std::atomic<const Answer*> lastAnswer = nullptr;

bool writeAll(const QByteArray& bytes) {
    const char* at = bytes.constData();
    auto left = static_cast<size_t>(bytes.size());
    while (left > 0) {
        const ssize_t written = write(STDOUT_FILENO, at, left);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        at += written;
        left -= static_cast<size_t>(written);
    }
    return true;
}

/// Keeps the answer for the worst case. Earlier ones are never freed: a signal may be reading them.
void prepareAnswer(const PhotoResult& result) {
    const QJsonArray photos{toJson(QStringLiteral("-"), result)};
    lastAnswer = new Answer{QJsonDocument(photos).toJson(QJsonDocument::Compact) + '\n',
                            result.numbers.isEmpty() ? 1 : 0};
}

[[noreturn]] void answerAndExit() {
    const Answer* answer = lastAnswer.exchange(nullptr);
    _exit(answer && writeAll(answer->text) ? answer->exitCode : 1);
}

#ifndef __SANITIZE_ADDRESS__ // where a fault is to be seen
void onFatalSignal(int) {
    answerAndExit();
}

void answerOnFatalSignals() {
    // On a stack of its own: the usual one may be what has run out.
    static std::array<char, 65536> memory;
    const stack_t stack{memory.data(), 0, memory.size()};
    sigaltstack(&stack, nullptr);
    struct sigaction action {};
    action.sa_handler = onFatalSignal;
    action.sa_flags = SA_ONSTACK;
    for (const int signal :
         {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGSYS, SIGTRAP, SIGXCPU, SIGALRM})
        sigaction(signal, &action, nullptr);
}
#else
void answerOnFatalSignals() {
}
#endif

/// The photo; empty when it is too large.
QByteArray readInput() {
    QByteArray bytes;
    std::array<char, 65536> part;
    for (;;) {
        const ssize_t size = read(STDIN_FILENO, part.data(), part.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return bytes;
        bytes.append(part.data(), size);
        if (bytes.size() > largestUpload)
            return {};
    }
}

/// Everything that loads a file or starts a thread at its first use.
void loadAll() {
    QByteArray nothing;
    for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp", "gif"}) {
        QBuffer buffer(&nothing);
        QImageReader(&buffer, format).canRead();
    }
    cv::getNumThreads();
    std::atomic<int> counter = 0;
    cv::parallel_for_({0, 64}, [&](const cv::Range&) { ++counter; });
}

} // namespace

void runPhotoWorker(const WorkerLimits& limits) {
    prepareAnswer({});
    answerOnFatalSignals();
    exitWithReader();
    // What libraries say about a stranger's bytes is not for the user's terminal.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    loadAll();
    if (const QString problem = enterSandbox(limits); !problem.isEmpty()) {
        std::fprintf(stderr, "Nie można odizolować rozpoznawania: %s\n", qPrintable(problem));
        _exit(1);
    }
    const QByteArray photo = readInput();
    alarm(static_cast<unsigned>(limits.total.count()));
    prepareAnswer(recognizePhoto(photo, prepareAnswer));
    answerAndExit();
}

} // namespace kopertal
