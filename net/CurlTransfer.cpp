#include "net/CurlTransfer.h"

#include <cerrno>
#include <new>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <utility>

namespace kopertal {
namespace {

constexpr long maxRedirects = 20;              // as browsers
constexpr long uploadBufferBytes = 16L * 1024; // per request; the library's own choice is 64 KiB
constexpr long nameLifetime = 300; // seconds; a burst must not look a name up once per request
constexpr std::size_t maxHeaderBytes = 256UL * 1024;

/// Whether the connection of a running transfer carries several requests at a time.
bool isShared(CURL* easy) {
    curl_tlssessioninfo* session = nullptr;
    if (curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &session) != CURLE_OK || !session ||
        session->backend != CURLSSLBACKEND_OPENSSL || !session->internals)
        return false;
    const unsigned char* name = nullptr;
    unsigned int size = 0;
    SSL_get0_alpn_selected(static_cast<SSL*>(session->internals), &name, &size);
    return size == 2 && name[0] == 'h' && name[1] == '2';
}

HttpFailure failureOf(CURLcode code) {
    switch (code) {
    case CURLE_OK:
        return HttpFailure::none;
    case CURLE_OPERATION_TIMEDOUT:
        return HttpFailure::timedOut;
    case CURLE_URL_MALFORMAT:
        return HttpFailure::invalidAddress;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return HttpFailure::hostNotFound;
    case CURLE_COULDNT_CONNECT:
        return HttpFailure::connectionFailed;
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
        return HttpFailure::connectionLost;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
        return HttpFailure::tlsFailed;
    case CURLE_TOO_MANY_REDIRECTS:
        return HttpFailure::tooManyRedirects;
    default:
        return HttpFailure::other;
    }
}

} // namespace

CurlTransfer::CurlTransfer(Order order, OriginQueue& queue, TransferContext& context)
    : m_order(std::move(order)), m_queue(queue), m_context(context), m_easy(curl_easy_init()) {
    if (!m_easy)
        throw std::bad_alloc();
    setRequestOptions();
    setTransportOptions(context);
}

CurlTransfer::~CurlTransfer() {
    m_context.bytesHeld -= m_body.size();
    if (!m_isConnected)
        m_queue.failedToConnect();
}

void CurlTransfer::setRequestOptions() {
    CURL* const easy = m_easy.get();
    const HttpRequest& request = m_order.request;
    for (const std::string& header : request.headers)
        m_headers.reset(curl_slist_append(m_headers.release(), header.c_str()));
    // A large body would else wait for a "100 Continue" that few servers send.
    m_headers.reset(curl_slist_append(m_headers.release(), "Expect:"));

    curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, m_headers.get());
    if (request.body) {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request.body->data());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request.body->size()));
    }
    curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, uploadBufferBytes);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count()));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_error.data());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &CurlTransfer::onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &CurlTransfer::onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::onOpenSocket);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, &CurlTransfer::onConnected);
    curl_easy_setopt(easy, CURLOPT_PREREQDATA, this);
}

void CurlTransfer::setTransportOptions(const TransferContext& context) {
    CURL* const easy = m_easy.get();
    const HttpOptions& options = context.options;
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, m_order.request.followsRedirects ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, maxRedirects);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    if (!options.userAgent.empty())
        curl_easy_setopt(easy, CURLOPT_USERAGENT, options.userAgent.c_str());
    curl_easy_setopt(easy, CURLOPT_NOPROXY, context.proxyExceptions.c_str());
    curl_easy_setopt(easy, CURLOPT_SHARE, context.share);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_DNS_CACHE_TIMEOUT, nameLifetime);
    // A name that is still being looked up must not hold up the others when its time is over.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);

    // Over TLS the first connection tells whether the server multiplexes, and the others wait for
    // that. In the clear it would only be known after the first answer.
    if (m_order.request.url.rfind("https:", 0) == 0) {
        curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
        curl_easy_setopt(easy, CURLOPT_PIPEWAIT, m_order.mayWait ? 1L : 0L);
    } else {
        curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    }

    // With a file alone the library parses the authorities once, not for every connection.
    const char* const authorities = options.authorityFile.empty()
                                        ? curl_version_info(CURLVERSION_NOW)->cainfo
                                        : options.authorityFile.c_str();
    if (authorities) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, authorities);
        curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    }
}

void CurlTransfer::finish(CURLcode code) {
    HttpAnswer answer;
    answer.failure = m_tooLarge ? HttpFailure::tooLarge : failureOf(code);
    if (answer.failure == HttpFailure::none) {
        curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &answer.status);
        m_context.bytesHeld -= m_body.size();
        answer.body = std::exchange(m_body, {});
    } else {
        answer.detail = m_error[0] ? m_error.data() : curl_easy_strerror(code);
    }
    m_order.completion(std::move(answer));
}

void CurlTransfer::putBack() {
    m_queue.pushFront(std::move(m_order));
}

void CurlTransfer::cancel() {
    cancelOrder(m_order);
}

bool CurlTransfer::append(const char* data, std::size_t size) noexcept {
    const HttpOptions& options = m_context.options;
    m_tooLarge = size > options.maxBodyBytes - m_body.size() ||
                 m_context.bytesHeld + size > options.maxTotalBytes;
    try {
        if (!m_tooLarge)
            m_body.append(data, size);
    } catch (const std::bad_alloc&) {
        m_tooLarge = true;
    }
    if (m_tooLarge) { // at once, or the other answers under way find no room either
        m_context.bytesHeld -= m_body.size();
        std::string().swap(m_body);
        return false;
    }
    m_context.bytesHeld += size;
    return true;
}

std::size_t CurlTransfer::onBody(char* data, std::size_t size, std::size_t count, void* self) {
    return static_cast<CurlTransfer*>(self)->append(data, size * count) ? size * count : 0;
}

std::size_t CurlTransfer::onHeader(char*, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.m_headerBytes += size * count;
    transfer.m_tooLarge = transfer.m_headerBytes > maxHeaderBytes;
    return transfer.m_tooLarge ? 0 : size * count;
}

int CurlTransfer::onConnected(void* self, char*, char*, int, int) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    if (!std::exchange(transfer.m_isConnected, true)) // redirects and retries come here again
        transfer.m_queue.connected(isShared(transfer.m_easy.get()));
    return CURL_PREREQFUNC_OK;
}

curl_socket_t CurlTransfer::onOpenSocket(void* self, curlsocktype, curl_sockaddr* address) {
    const int descriptor =
        ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (descriptor < 0 && (errno == EMFILE || errno == ENFILE))
        static_cast<CurlTransfer*>(self)->m_lacksDescriptor = true;
    return descriptor < 0 ? CURL_SOCKET_BAD : descriptor;
}

} // namespace kopertal
