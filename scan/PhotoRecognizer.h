#pragma once

#include "scan/PhotoResult.h"
#include "scan/ReceivedPhoto.h"

#include <QByteArrayView>
#include <QElapsedTimer>
#include <QFuture>
#include <QObject>
#include <QPromise>
#include <QQueue>
#include <QStringList>

#include <chrono>
#include <memory>

namespace kopertal {

/// A photo that was cut out of an upload, and the upload. The views live as long as `owner` does.
struct PhotoBytes {
    QByteArrayView photo;
    QByteArrayView whole; ///< Tried when the cut photo has no number.
    std::shared_ptr<const void> owner;
};

PhotoBytes photoBytes(const QByteArray& photo);
/// Without a copy.
PhotoBytes photoBytes(const ReceivedPhoto& photo);

struct RecognizerOptions {
    QString program; ///< Answers as runPhotoWorker() does.
    QStringList arguments{QStringLiteral("scan"), QStringLiteral("--json"), QStringLiteral("-")};
    std::chrono::milliseconds patience{std::chrono::seconds(40)}; ///< With one process.
    int atOnce = 2;                                               ///< Processes; at least 1.
};

/// Recognises photos, each in a process of its own: bytes from a network can harm nothing but that.
/// A process that cannot start, crashes, hangs or answers nonsense makes its photo unreadable, and
/// the next one works. Lives on a thread with an event loop; more photos than may be worked on at
/// once wait for their turn.
class PhotoRecognizer : public QObject {
    Q_OBJECT

public:
    explicit PhotoRecognizer(RecognizerOptions options, QObject* parent = nullptr);
    /// Ends the processes. Photos not done by then are unreadable.
    ~PhotoRecognizer() override;

    /// Finishes exactly once, with one result.
    QFuture<PhotoResult> recognize(const PhotoBytes& photo);

private:
    struct Job {
        PhotoBytes photo;
        QPromise<PhotoResult> promise;
        bool isWhole = false; ///< The whole upload is being tried.
        PhotoResult earlier;  ///< What the cut photo said.
        QElapsedTimer timer;  ///< Since it was handed over.
    };

    void startNext();
    void start(const std::shared_ptr<Job>& job);
    void finish(const std::shared_ptr<Job>& job, const PhotoResult& result);

    RecognizerOptions m_options;
    QQueue<std::shared_ptr<Job>> m_waiting;
    QList<std::shared_ptr<Job>> m_running;
};

} // namespace kopertal
