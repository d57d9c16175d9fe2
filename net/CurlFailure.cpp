#include "net/CurlFailure.h"

#include <openssl/x509_vfy.h>
#include <strings.h>

namespace kopertal {
namespace {

long number(CURL* easy, CURLINFO info) {
    long value = 0;
    curl_easy_getinfo(easy, info, &value);
    return value;
}

/// libcurl tells by the same code that it does not speak the protocol of an address, where the
/// request or a redirect sends it, and that what came back is no HTTP of today.
HttpFailure protocolFailure(CURL* easy, const HttpRequest& request) {
    const char* address = nullptr;
    curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_URL, &address);
    const bool isHttp = address && strncasecmp(address, "http:", 5) == 0;
    if (isHttp && isHttps(request.url.c_str()))
        return HttpFailure::insecureRedirect;
    if (isHttp || (address && isHttps(address)))
        return HttpFailure::malformedAnswer;
    return number(easy, CURLINFO_REDIRECT_COUNT) > 0 ? HttpFailure::unusableRedirect
                                                     : HttpFailure::unsupportedAddress;
}

HttpFailure verificationFailure(CURL* easy) {
    switch (number(easy, CURLINFO_SSL_VERIFYRESULT)) {
    case X509_V_OK: // nothing was found, or looked for yet, but the name
    case X509_V_ERR_UNSPECIFIED:
        return HttpFailure::certificateForOtherHost;
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return HttpFailure::certificateExpired;
    default:
        return HttpFailure::certificateUntrusted;
    }
}

} // namespace

bool isHttps(const char* url) {
    return strncasecmp(url, "https:", 6) == 0;
}

HttpFailure failureOf(CURL* easy, CURLcode code, const HttpRequest& request) {
    switch (code) {
    case CURLE_OK:
        return HttpFailure::none;
    case CURLE_OPERATION_TIMEDOUT:
        return HttpFailure::timedOut;
    case CURLE_OUT_OF_MEMORY:
        return HttpFailure::noMemory;
    case CURLE_URL_MALFORMAT:
        return number(easy, CURLINFO_REDIRECT_COUNT) > 0 ? HttpFailure::unusableRedirect
                                                         : HttpFailure::invalidAddress;
    case CURLE_UNSUPPORTED_PROTOCOL:
        return protocolFailure(easy, request);
    case CURLE_COULDNT_RESOLVE_HOST:
        return HttpFailure::hostNotFound;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_PROXY:
        return HttpFailure::proxyFailed;
    case CURLE_COULDNT_CONNECT:
        return HttpFailure::connectionFailed;
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
        return number(easy, CURLINFO_HTTP_CONNECTCODE) >= 300 ? HttpFailure::proxyFailed
                                                              : HttpFailure::connectionLost;
    case CURLE_PEER_FAILED_VERIFICATION:
        return verificationFailure(easy);
    case CURLE_SSL_CACERT_BADFILE:
        return HttpFailure::authoritiesUnreadable;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_ISSUER_ERROR:
        return HttpFailure::tlsFailed;
    case CURLE_TOO_MANY_REDIRECTS:
        return HttpFailure::tooManyRedirects;
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
        return HttpFailure::malformedAnswer;
    case CURLE_FILESIZE_EXCEEDED:
        return HttpFailure::tooLarge;
    default:
        return HttpFailure::other;
    }
}

} // namespace kopertal
