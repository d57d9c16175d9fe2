#pragma once

#include "net/HttpClient.h"
#include "tests/support/TrackingStandIn.h"

#include <algorithm>

namespace kopertal {

/// For a client that trusts the stand-in's authority.
inline HttpOptions trusting(const TrackingStandIn& standIn) {
    HttpOptions options;
    options.authorityFile = standIn.authority().toStdString();
    return options;
}

inline HttpRequest requestTo(const QString& address) {
    HttpRequest request;
    request.url = address.toStdString();
    return request;
}

/// The same request so many times at once.
inline QList<QFuture<HttpAnswer>> sendMany(HttpClient& client, const HttpRequest& request,
                                           int count) {
    QList<QFuture<HttpAnswer>> answers;
    for (int i = 0; i < count; ++i)
        answers.append(client.send(request));
    return answers;
}

/// So many of them end so; waits for all.
inline qsizetype countOf(HttpFailure failure, const QList<QFuture<HttpAnswer>>& answers) {
    return std::ranges::count(answers, failure,
                              [](const auto& answer) { return answer.result().failure; });
}

} // namespace kopertal
