#pragma once

#include "net/HttpCarrier.h"

#include <QFuture>
#include <QString>

#include <memory>

namespace kopertal {

/// The program's HTTP client: a carrier with futures. Every future finishes with one answer;
/// those under way when the client is destroyed finish as cancelled.
class HttpClient {
public:
    /// Over HttpTransfers, whose exceptions it throws.
    explicit HttpClient(const HttpOptions& options = {});
    explicit HttpClient(std::unique_ptr<HttpCarrier> carrier);

    /// From any thread, but not once the destruction has begun.
    QFuture<HttpAnswer> send(HttpRequest request);

private:
    std::unique_ptr<HttpCarrier> m_carrier;
};

/// Why there is no answer, for the user, in Polish.
QString failureText(const HttpAnswer& answer);

} // namespace kopertal
