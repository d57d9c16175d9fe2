#include "net/HttpClient.h"

#include <QPromise>

#include <memory>
#include <utility>

namespace kopertal {

HttpClient::HttpClient(std::unique_ptr<HttpCarrier> carrier) : m_carrier(std::move(carrier)) {
}

QFuture<HttpAnswer> HttpClient::send(HttpRequest request) {
    const auto promise = std::make_shared<QPromise<HttpAnswer>>();
    promise->start();
    m_carrier->send(std::move(request), [promise](HttpAnswer answer) {
        promise->addResult(std::move(answer));
        promise->finish();
    });
    return promise->future();
}

QString failureText(const HttpAnswer& answer) {
    const QString detail = QString::fromStdString(answer.detail);
    switch (answer.failure) {
    case HttpFailure::none:
        return {};
    case HttpFailure::cancelled:
        return QStringLiteral("Przerwano.");
    case HttpFailure::timedOut:
        return QStringLiteral("Upłynął limit czasu oczekiwania na odpowiedź.");
    case HttpFailure::invalidAddress:
        return QStringLiteral("Adres serwera jest nieprawidłowy.");
    case HttpFailure::hostNotFound:
        return QStringLiteral("Nie znaleziono serwera o podanej nazwie.");
    case HttpFailure::connectionFailed:
        return QStringLiteral("Nie można połączyć się z serwerem.");
    case HttpFailure::connectionLost:
        return QStringLiteral("Połączenie z serwerem zostało przerwane.");
    case HttpFailure::tlsFailed:
        return QStringLiteral("Nie można nawiązać bezpiecznego połączenia z serwerem: ") + detail;
    case HttpFailure::tooManyRedirects:
        return QStringLiteral("Zbyt wiele przekierowań.");
    case HttpFailure::tooLarge:
        return QStringLiteral("Odpowiedź serwera jest zbyt duża.");
    case HttpFailure::other:
        break;
    }
    return QStringLiteral("Błąd połączenia z serwerem: ") + detail;
}

} // namespace kopertal
