#pragma once

#include "net/HttpMessage.h"
#include "net/HttpTransfers.h"

#include <QFuture>
#include <QString>

namespace kopertal {

/// The program's HTTP client: HttpTransfers with futures. Every future finishes with one answer;
/// those under way when the client is destroyed finish as cancelled.
class HttpClient {
public:
    /// Throws std::runtime_error as HttpTransfers does.
    explicit HttpClient(HttpOptions options = {});

    /// From any thread, but not once the destruction has begun.
    QFuture<HttpAnswer> send(HttpRequest request);

private:
    HttpTransfers m_transfers;
};

/// Why there is no answer, for the user, in Polish.
QString failureText(const HttpAnswer& answer);

} // namespace kopertal
