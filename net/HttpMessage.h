#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kopertal {

/// One request over http or https.
struct HttpRequest {
    std::string url;
    std::vector<std::string> headers; ///< "Name: value" each.
    std::optional<std::string> body;  ///< With one the method is POST, else GET.
    /// For all of it, counted from the request's own start: waiting for a descriptor is not in it.
    std::chrono::milliseconds timeout{20'000};
    bool followsRedirects = true; ///< Else a redirect is the answer.
};

/// Why there is no answer.
enum class HttpFailure {
    none,
    cancelled,
    timedOut,
    invalidAddress,
    hostNotFound,
    connectionFailed,
    connectionLost,
    tlsFailed,
    tooManyRedirects,
    tooLarge,
    other
};

/// What became of a request. A status of 400 or more is an answer too.
struct HttpAnswer {
    HttpFailure failure = HttpFailure::none;
    std::string detail; ///< Of a failure, in the transport's own (English) words.
    long status = 0;
    std::string body; ///< Decompressed; empty when there is a failure.
};

/// How requests are carried.
struct HttpOptions {
    std::string userAgent;                            ///< Without one no such header is sent.
    std::string authorityFile;                        ///< PEM; without one the system's store.
    std::size_t maxBodyBytes = 16ULL * 1024 * 1024;   ///< Of one answer, decompressed.
    std::size_t maxTotalBytes = 256ULL * 1024 * 1024; ///< Of the answers under way together.
};

} // namespace kopertal
