#include "scan/PhotoRecognizer.h"

#include "scan/PhotoProcess.h"

#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace kopertal {
namespace {

Q_LOGGING_CATEGORY(photoLog, "kopertal.photo", QtWarningMsg)

} // namespace

PhotoBytes photoBytes(const QByteArray& photo) {
    const auto owner = std::make_shared<const QByteArray>(photo);
    return {*owner, *owner, owner};
}

PhotoBytes photoBytes(const ReceivedPhoto& photo) {
    return {photo.photo(), photo.whole(), std::make_shared<ReceivedPhoto>(photo)};
}

PhotoRecognizer::PhotoRecognizer(RecognizerOptions options, QObject* parent)
    : QObject(parent), m_options(std::move(options)) {
}

PhotoRecognizer::~PhotoRecognizer() {
    qDeleteAll(findChildren<PhotoProcess*>());
    for (const std::shared_ptr<Job>& job : m_running + m_waiting) {
        job->promise.addResult(PhotoResult{});
        job->promise.finish();
    }
}

QFuture<PhotoResult> PhotoRecognizer::recognize(const PhotoBytes& photo) {
    const auto job = std::make_shared<Job>();
    job->photo = photo;
    job->promise.start();
    job->timer.start();
    m_waiting.enqueue(job);
    startNext();
    return job->promise.future();
}

void PhotoRecognizer::startNext() {
    while (m_running.size() < std::max(1, m_options.atOnce) && !m_waiting.isEmpty())
        start(m_waiting.dequeue());
}

void PhotoRecognizer::start(const std::shared_ptr<Job>& job) {
    m_running.append(job);
    auto* const process =
        new PhotoProcess(m_options, job->isWhole ? job->photo.whole : job->photo.photo, this);
    connect(process, &PhotoProcess::finished, this,
            [this, process, job](const PhotoResult& result) {
                process->deleteLater();
                m_running.removeOne(job);
                finish(job, result);
                startNext();
            });
    process->start();
}

void PhotoRecognizer::finish(const std::shared_ptr<Job>& job, const PhotoResult& result) {
    const bool hasMore = job->photo.whole.size() > job->photo.photo.size();
    if (!job->isWhole && hasMore && result.outcome != PhotoOutcome::numbers) {
        job->isWhole = true;
        job->earlier = result;
        m_waiting.prepend(job);
        return;
    }
    const bool isBetter = result.outcome >= job->earlier.outcome;
    const PhotoResult& best = isBetter ? result : job->earlier;
    qCInfo(photoLog, "zdjęcie po %lld ms: %s, kodów %lld", job->timer.elapsed(),
           best.outcome == PhotoOutcome::unreadable ? "nieczytelne" : "odczytane",
           static_cast<qint64>(best.numbers.size()));
    job->promise.addResult(best);
    job->promise.finish();
}

} // namespace kopertal
