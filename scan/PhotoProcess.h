#pragma once

#include "scan/PhotoRecognizer.h"

#include <QProcess>
#include <QTimer>

namespace kopertal {

/// One recognition process with one photo.
class PhotoProcess : public QObject {
    Q_OBJECT

public:
    /// `photo` must stay valid until finished() or the destructor.
    PhotoProcess(const RecognizerOptions& options, QByteArrayView photo, QObject* parent);
    /// Ends the process.
    ~PhotoProcess() override;

    void start();

Q_SIGNALS:
    /// Once, whatever happens, unless the object is destroyed before.
    void finished(const kopertal::PhotoResult& result);

private:
    void writeMore();
    void readMore();
    void end(const PhotoResult& result);

    RecognizerOptions m_options;
    QByteArrayView m_left;
    QByteArray m_answer;
    QProcess m_process;
    QTimer m_patience;
    bool m_isEnded = false;
};

} // namespace kopertal
