#pragma once

#include "app/scanning/ServerStart.h"
#include "scan/PhotoResult.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <memory>

namespace kopertal {

class PhotoRecognizer;

/// A server on a free port for the length of one scan, and the numbers on the photos that it gets.
/// Photos are recognised side by side. With the session its server ends, and nobody hears of its
/// photos any more.
class ScanSession : public QObject {
    Q_OBJECT

public:
    /// `recognizer` may go at any time; photos are unreadable then.
    explicit ScanSession(PhotoRecognizer& recognizer, QObject* parent = nullptr);
    ~ScanSession() override;

    /// How long it waits for a phone before phoneMissing(); 30 s unless set, before start().
    void setPatience(std::chrono::milliseconds patience) { m_patience = patience; }

    void start();

    /// Takes no more connections. Photos on their way are still taken and recognised; ended()
    /// follows when there can be none.
    void stop();

Q_SIGNALS:
    void ready(const QString& address);
    void failed(const QString& description);
    /// No phone has connected for a while; phoneConnected() follows as soon as one has.
    void phoneMissing();
    void phoneConnected();
    void photoReceived();
    void recognised(const PhotoResult& result);
    void ended();

private:
    void serve(const StartedServer& started);
    void recognize(const ReceivedPhoto& photo);
    void checkVisit();
    void endIfIdle();

    QPointer<PhotoRecognizer> m_recognizer;
    QFuture<StartedServer> m_start;
    std::shared_ptr<ScanServer> m_server;
    std::chrono::milliseconds m_patience;
    QTimer m_visitCheck;
    QTimer m_linger;
    int m_recognising = 0;
    bool m_isStopped = false;
    bool m_isPhoneMissing = false;
};

} // namespace kopertal
