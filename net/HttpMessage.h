#pragma once

#include "net/ReceivedBody.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kopertal {

/// One request over http or https.
struct HttpRequest {
    std::string url;
    std::optional<std::string> body; ///< With one the method is POST, else GET.
    /// "Name: value" each. They go where the body goes: not along with a redirect that drops it.
    std::vector<std::string> bodyHeaders;
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
    unsupportedAddress, ///< Neither http nor https.
    hostNotFound,
    proxyFailed,
    connectionFailed,
    connectionLost,
    certificateExpired, ///< Or it is not valid yet.
    certificateForOtherHost,
    certificateUntrusted,
    authoritiesUnreadable, ///< The file of trusted authorities.
    tlsFailed,
    tooManyRedirects,
    unusableRedirect, ///< To something other than http or https.
    insecureRedirect, ///< From https to http, which would show the request to everybody.
    malformedAnswer,
    tooLarge,
    noDescriptor, ///< The process may open no more files and connections.
    noMemory,
    other
};

/// What became of a request. A status of 400 or more is an answer too.
struct HttpAnswer {
    HttpFailure failure = HttpFailure::none;
    std::string detail; ///< Of a failure, in the transport's own (English) words.
    long status = 0;
    /// Decompressed; null when there is none, as with a failure. Let go of it when it is read:
    /// until then it takes up room that the next answers want.
    std::shared_ptr<const ReceivedBody> body;

    const std::string& text() const {
        static const std::string none;
        return body ? body->text() : none;
    }
};

/// How requests are carried.
struct HttpOptions {
    std::string userAgent;                          ///< Without one no such header is sent.
    std::string authorityFile;                      ///< PEM; without one the system's store.
    std::size_t maxBodyBytes = 16ULL * 1024 * 1024; ///< Of one answer, decompressed.
    /// Of all answers that are under way or not let go of yet, together, but for the first 64 KiB
    /// of each: ordinary answers find room whatever the others take.
    std::size_t maxTotalBytes = 128ULL * 1024 * 1024;
};

} // namespace kopertal
