#include "net/HttpClient.h"

#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QPromise>

#include <atomic>
#include <exception>
#include <memory>
#include <new>
#include <utility>

namespace kopertal {
namespace {

Q_LOGGING_CATEGORY(httpLog, "kopertal.http", QtWarningMsg)

/// What the transport says besides the kind of a failure may name what was asked for.
QString outcomeText(const HttpAnswer& answer) {
    HttpAnswer kind;
    kind.failure = answer.failure;
    return answer.failure == HttpFailure::none
               ? QStringLiteral("kod %1, bajtów %2").arg(answer.status).arg(answer.text().size())
               : failureText(kind);
}

/// `completion` that tells of the request first.
HttpCarrier::Completion logged(const HttpRequest& request, HttpCarrier::Completion completion) {
    static std::atomic<int> requests = 0;
    const int number = ++requests;
    QElapsedTimer timer;
    timer.start();
    qCInfo(httpLog, "zapytanie %d: bajtów %zu", number, request.body ? request.body->size() : 0);
    return [number, timer, completion = std::move(completion)](HttpAnswer answer) {
        qCInfo(httpLog, "zapytanie %d po %lld ms: %s", number, timer.elapsed(),
               qUtf8Printable(outcomeText(answer)));
        completion(std::move(answer));
    };
}

} // namespace

HttpClient::HttpClient(std::unique_ptr<HttpCarrier> carrier) : m_carrier(std::move(carrier)) {
}

QFuture<HttpAnswer> HttpClient::send(HttpRequest request) {
    const auto promise = std::make_shared<QPromise<HttpAnswer>>();
    promise->start();
    HttpCarrier::Completion completion = [promise](HttpAnswer answer) {
        try {
            promise->addResult(std::move(answer));
        } catch (const std::bad_alloc&) {
            promise->setException(std::current_exception());
        }
        promise->finish();
    };
    if (httpLog().isInfoEnabled())
        completion = logged(request, std::move(completion));
    m_carrier->send(std::move(request), std::move(completion));
    return promise->future();
}

QString failureText(const HttpAnswer& answer) {
    const auto withDetail = [&](const QString& text) {
        return text + QStringLiteral(" Szczegóły: ") + QString::fromStdString(answer.detail);
    };
    switch (answer.failure) {
    case HttpFailure::none:
        return {};
    case HttpFailure::cancelled:
        return QStringLiteral("Przerwano.");
    case HttpFailure::timedOut:
        return QStringLiteral("Upłynął limit czasu oczekiwania na odpowiedź.");
    case HttpFailure::invalidAddress:
        return QStringLiteral("Adres serwera jest nieprawidłowy.");
    case HttpFailure::unsupportedAddress:
        return QStringLiteral("Adres serwera musi zaczynać się od https:// lub http://.");
    case HttpFailure::hostNotFound:
        return QStringLiteral("Nie znaleziono serwera o podanej nazwie.");
    case HttpFailure::proxyFailed:
        return QStringLiteral("Serwer pośredniczący (proxy) jest nieosiągalny lub odmówił "
                              "połączenia.");
    case HttpFailure::connectionFailed:
        return QStringLiteral("Nie można połączyć się z serwerem.");
    case HttpFailure::connectionLost:
        return QStringLiteral("Połączenie z serwerem zostało przerwane.");
    case HttpFailure::certificateExpired:
        return QStringLiteral("Certyfikat serwera utracił ważność lub jeszcze nie jest ważny. "
                              "Sprawdź datę ustawioną w komputerze.");
    case HttpFailure::certificateForOtherHost:
        return QStringLiteral("Certyfikat serwera został wystawiony dla innego adresu.");
    case HttpFailure::certificateUntrusted:
        return QStringLiteral("Certyfikat serwera nie pochodzi od zaufanego wystawcy.");
    case HttpFailure::authoritiesUnreadable:
        return QStringLiteral("Nie można odczytać pliku z zaufanymi urzędami certyfikacji.");
    case HttpFailure::tlsFailed:
        return withDetail(QStringLiteral("Nie można nawiązać bezpiecznego połączenia z serwerem."));
    case HttpFailure::tooManyRedirects:
        return QStringLiteral("Zbyt wiele przekierowań.");
    case HttpFailure::unusableRedirect:
        return QStringLiteral("Serwer przekierował pod adres, którego nie można otworzyć.");
    case HttpFailure::insecureRedirect:
        return QStringLiteral("Serwer przekierował z połączenia szyfrowanego na nieszyfrowane; ze "
                              "względów bezpieczeństwa połączenie przerwano.");
    case HttpFailure::malformedAnswer:
        return QStringLiteral("Odpowiedź serwera jest niezrozumiała.");
    case HttpFailure::tooLarge:
        return QStringLiteral("Odpowiedź serwera jest zbyt duża.");
    case HttpFailure::noDescriptor:
        return QStringLiteral("System nie pozwala programowi otworzyć więcej plików i połączeń.");
    case HttpFailure::noMemory:
        return QStringLiteral("Zabrakło pamięci.");
    case HttpFailure::other:
        break;
    }
    return answer.detail.empty() ? QStringLiteral("Nie udało się połączyć z serwerem.")
                                 : withDetail(QStringLiteral("Nie udało się połączyć z serwerem."));
}

} // namespace kopertal
