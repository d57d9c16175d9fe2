#include "tracking/TrackingService.h"

#include "tracking/TrackingEnvelope.h"
#include "tracking/TrackingNumber.h"

#include <QPromise>

#include <new>
#include <utility>

namespace kopertal {
namespace {

HttpAnswer answerOf(const QFuture<HttpAnswer>& future) {
    try {
        return future.result();
    } catch (const std::bad_alloc&) {
        HttpAnswer answer;
        answer.failure = HttpFailure::noMemory;
        return answer;
    }
}

TrackingResult emptyNumberResult() {
    TrackingResult result;
    result.status = TrackingStatus::none;
    result.lastEvent = QStringLiteral("—");
    return result;
}

} // namespace

TrackingService::TrackingService(HttpClient& client, TrackingAccess access)
    : m_client(client), m_access(std::move(access)), m_reader(std::make_shared<AnswerReader>()) {
}

TrackingService::~TrackingService() {
    m_reader->stop();
}

QFuture<TrackingResult> TrackingService::fetch(const QString& trackingNumber) const {
    const QString number = cleanBarcode(trackingNumber);
    if (number.isEmpty())
        return QtFuture::makeReadyFuture(emptyNumberResult());
    HttpRequest request;
    request.url = m_access.endpoint.toStdString();
    request.bodyHeaders = {"Content-Type: text/xml; charset=utf-8", "SOAPAction: \"\""};
    request.body = trackingEnvelope(m_access, number).toStdString();
    const auto promise = std::make_shared<QPromise<TrackingResult>>();
    promise->start();
    m_reader->expect();
    m_client.send(std::move(request))
        .then(QtFuture::Launch::Sync,
              [reader = m_reader, promise](const QFuture<HttpAnswer>& answer) {
                  reader->read(answerOf(answer), promise);
              });
    return promise->future();
}

} // namespace kopertal
