#pragma once

#include "net/HttpClient.h"
#include "tracking/AnswerReader.h"
#include "tracking/TrackingAccess.h"
#include "tracking/TrackingResult.h"

#include <QFuture>
#include <QString>

#include <memory>

namespace kopertal {

/// Asks the Polish Post's tracking service about shipments.
class TrackingService {
public:
    /// The client must outlive the service.
    TrackingService(HttpClient& client, TrackingAccess access);
    /// What is not answered and read by then is cancelled.
    ~TrackingService();
    TrackingService(const TrackingService&) = delete;
    TrackingService& operator=(const TrackingService&) = delete;

    /// What the service says of the number, by one request. Never fails: whatever goes wrong
    /// becomes a result with a status text of its own. May be called any number of times at once,
    /// from any thread; answers are read by AnswerReader, and kept whole as far as ResultBudget
    /// goes.
    QFuture<TrackingResult> fetch(const QString& trackingNumber) const;

private:
    HttpClient& m_client;
    TrackingAccess m_access;
    std::shared_ptr<AnswerReader> m_reader; // outlives the service with the last answer
};

} // namespace kopertal
