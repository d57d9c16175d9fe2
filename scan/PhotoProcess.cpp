#include "scan/PhotoProcess.h"

#include <algorithm>

namespace kopertal {
namespace {

constexpr qsizetype chunk = qsizetype(1) << 20;
constexpr qsizetype longestAnswer = qsizetype(4) << 20;

} // namespace

PhotoProcess::PhotoProcess(const RecognizerOptions& options, QByteArrayView photo, QObject* parent)
    : QObject(parent), m_options(options), m_left(photo) {
    m_process.setProgram(options.program);
    m_process.setArguments(options.arguments);
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, [this] { end({}); });
    connect(&m_process, &QProcess::started, this, &PhotoProcess::writeMore);
    connect(&m_process, &QProcess::bytesWritten, this, &PhotoProcess::writeMore);
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &PhotoProcess::readMore);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        // A write may fail because the answer came early.
        if (error == QProcess::FailedToStart)
            end({});
    });
    connect(&m_process, &QProcess::finished, this, [this](int, QProcess::ExitStatus status) {
        readMore();
        end(status == QProcess::NormalExit ? photoResultFromJson(m_answer).value_or(PhotoResult{})
                                           : PhotoResult{});
    });
}

PhotoProcess::~PhotoProcess() {
    m_isEnded = true;
    m_process.disconnect(this);
    m_process.kill();
    m_process.waitForFinished(1000);
}

void PhotoProcess::start() {
    m_patience.start(m_options.patience);
    m_process.start();
}

void PhotoProcess::writeMore() {
    if (m_isEnded || m_process.bytesToWrite() > 0)
        return;
    if (m_left.isEmpty()) {
        m_process.closeWriteChannel();
        return;
    }
    const QByteArrayView part = m_left.first(std::min(chunk, m_left.size()));
    m_left = m_left.sliced(part.size());
    m_process.write(part.data(), part.size());
}

void PhotoProcess::readMore() {
    m_answer += m_process.readAllStandardOutput();
    if (m_answer.size() > longestAnswer)
        end({});
}

void PhotoProcess::end(const PhotoResult& result) {
    if (m_isEnded)
        return;
    m_isEnded = true;
    m_patience.stop();
    if (m_process.state() != QProcess::NotRunning)
        m_process.kill();
    Q_EMIT finished(result);
}

} // namespace kopertal
