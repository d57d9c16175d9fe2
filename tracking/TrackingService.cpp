#include "tracking/TrackingService.h"

#include "tracking/SoapAnswer.h"
#include "tracking/TrackingEnvelope.h"
#include "tracking/TrackingNumber.h"

#include <new>
#include <utility>

namespace kopertal {
namespace {

TrackingResult failedResult(const HttpAnswer& answer) {
    TrackingResult result;
    result.status = TrackingStatus::networkError;
    result.lastEvent = failureText(answer);
    return result;
}

TrackingResult readAnswer(const QFuture<HttpAnswer>& future) {
    try {
        const HttpAnswer answer = future.result();
        return answer.failure == HttpFailure::none ? parseAnswer(answer.text())
                                                   : failedResult(answer);
    } catch (const std::bad_alloc&) {
        HttpAnswer answer;
        answer.failure = HttpFailure::noMemory;
        return failedResult(answer);
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
    : m_client(client), m_access(std::move(access)), m_budget(std::make_shared<ResultBudget>()) {
}

QFuture<TrackingResult> TrackingService::fetch(const QString& trackingNumber) const {
    const QString number = cleanBarcode(trackingNumber);
    if (number.isEmpty())
        return QtFuture::makeReadyFuture(emptyNumberResult());
    HttpRequest request;
    request.url = m_access.endpoint.toStdString();
    request.bodyHeaders = {"Content-Type: text/xml; charset=utf-8", "SOAPAction: \"\""};
    request.body = trackingEnvelope(m_access, number).toStdString();
    m_budget->started();
    return m_client.send(std::move(request))
        .then(QtFuture::Launch::Async, [budget = m_budget](const QFuture<HttpAnswer>& answer) {
            return budget->finished(readAnswer(answer));
        });
}

} // namespace kopertal
