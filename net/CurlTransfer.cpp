#include "net/CurlTransfer.h"

#include "net/CurlFailure.h"
#include "net/DescriptorLimit.h"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
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

// A kept connection may be dead without a word, as behind a router that has forgotten it. The
// kernel asks the peer while it is idle; and a request on it that nobody acknowledges is given up
// early enough for another try on a new connection.
constexpr long probeAfterSeconds = 15;
constexpr long probeEverySeconds = 5;
constexpr unsigned int unacknowledgedMs = 8'000;

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

} // namespace

CurlTransfer::CurlTransfer(Order order, OriginQueue& queue, TransferContext& context)
    : m_order(std::move(order)),
      m_queue(queue),
      m_context(context),
      m_easy(curl_easy_init()),
      m_body(std::make_shared<ReceivedBody>(context.limits.budget, context.options.maxBodyBytes)) {
    if (!m_easy)
        throw std::bad_alloc();
    setRequestOptions();
    setTransportOptions(context);
    queue.starts();
    ++*context.limits.running;
}

CurlTransfer::~CurlTransfer() {
    if (!m_isConnected)
        m_queue.failedToConnect();
    m_queue.ended();
    --*m_context.limits.running;
}

template <typename T>
void CurlTransfer::set(CURLoption option, T value) {
    if (curl_easy_setopt(m_easy.get(), option, value) == CURLE_OUT_OF_MEMORY)
        throw std::bad_alloc();
}

void CurlTransfer::addHeader(const char* header) {
    curl_slist* const longer = curl_slist_append(m_headers.get(), header);
    if (!longer)
        throw std::bad_alloc();
    [[maybe_unused]] const auto same = m_headers.release();
    m_headers.reset(longer);
}

void CurlTransfer::setRequestOptions() {
    const HttpRequest& request = m_order.request;
    for (const std::string& header : request.bodyHeaders)
        addHeader(header.c_str());
    // A large body would else wait for a "100 Continue" that few servers send.
    addHeader("Expect:");

    set(CURLOPT_PRIVATE, this);
    set(CURLOPT_URL, request.url.c_str());
    set(CURLOPT_HTTPHEADER, m_headers.get());
    if (request.body) {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDS, request.body->data());
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body->size()));
    }
    set(CURLOPT_UPLOAD_BUFFERSIZE, uploadBufferBytes);
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count()));
    set(CURLOPT_ERRORBUFFER, m_error.data());
    set(CURLOPT_WRITEFUNCTION, &CurlTransfer::onBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_HEADERFUNCTION, &CurlTransfer::onHeader);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::onOpenSocket);
    set(CURLOPT_OPENSOCKETDATA, this);
    set(CURLOPT_PREREQFUNCTION, &CurlTransfer::onConnected);
    set(CURLOPT_PREREQDATA, this);
}

void CurlTransfer::setTransportOptions(const TransferContext& context) {
    const HttpOptions& options = context.options;
    const bool overTls = isHttps(m_order.request.url.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_DEFAULT_PROTOCOL, "none"); // an address without one is not guessed at
    set(CURLOPT_REDIR_PROTOCOLS_STR, overTls ? "https" : "http,https");
    set(CURLOPT_FOLLOWLOCATION, m_order.request.followsRedirects ? 1L : 0L);
    set(CURLOPT_MAXREDIRS, maxRedirects);
    set(CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    if (!options.userAgent.empty())
        set(CURLOPT_USERAGENT, options.userAgent.c_str());
    set(CURLOPT_NOPROXY, context.proxyExceptions.forRequestTo(m_order.request.url).c_str());
    set(CURLOPT_SHARE, context.share);
    // Else the library looks at every connection of the burst for each request.
    set(CURLOPT_FRESH_CONNECT, m_queue.mayHaveConnection() ? 0L : 1L);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_DNS_CACHE_TIMEOUT, nameLifetime);
    // A name that is still being looked up must not hold up the others when its time is over.
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_TCP_KEEPALIVE, 1L);
    set(CURLOPT_TCP_KEEPIDLE, probeAfterSeconds);
    set(CURLOPT_TCP_KEEPINTVL, probeEverySeconds);

    // Over TLS the first connection tells whether the server multiplexes, and the others wait for
    // that. In the clear it would only be known after the first answer.
    if (overTls) {
        set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
        set(CURLOPT_PIPEWAIT, m_order.mayWait ? 1L : 0L);
    } else {
        set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    }

    // With a file alone the library parses the authorities once, not for every connection.
    const char* const authorities = options.authorityFile.empty()
                                        ? curl_version_info(CURLVERSION_NOW)->cainfo
                                        : options.authorityFile.c_str();
    if (authorities) {
        set(CURLOPT_CAINFO, authorities);
        set(CURLOPT_CAPATH, nullptr);
    }
}

void CurlTransfer::finish(CURLcode code) {
    HttpAnswer answer;
    answer.failure =
        m_tooLarge ? HttpFailure::tooLarge : failureOf(m_easy.get(), code, m_order.request);
    if (lacksDescriptor(code))
        answer.failure = HttpFailure::noDescriptor;
    if (answer.failure == HttpFailure::none) {
        curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &answer.status);
        answer.body = std::move(m_body);
    } else {
        answer.detail = m_error[0] ? m_error.data() : curl_easy_strerror(code);
    }
    m_order.complete(std::move(answer));
}

bool CurlTransfer::lacksDescriptor(CURLcode code) const {
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST: // which opens files and sockets of its own
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_SSL_CACERT_BADFILE:
        return !canOpenDescriptor();
    case CURLE_COULDNT_CONNECT:
        return m_lacksDescriptor;
    default:
        return false;
    }
}

void CurlTransfer::putBack() {
    m_queue.pushFront(std::move(m_order));
}

void CurlTransfer::fail(HttpFailure failure) {
    m_order.fail(failure);
}

void CurlTransfer::watchSocket(CURL* easy, curl_socket_t socket) {
    CurlTransfer* transfer = nullptr; // none for the library's own work
    curl_easy_getinfo(easy, CURLINFO_PRIVATE, &transfer);
    if (transfer && transfer->m_isOnKeptConnection)
        setsockopt(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, &unacknowledgedMs,
                   sizeof unacknowledgedMs);
}

std::size_t CurlTransfer::onBody(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    if (transfer.m_body->append(data, size * count))
        return size * count;
    transfer.m_tooLarge = true;
    transfer.m_body->clear(); // at once, or the other answers under way find no room either
    return 0;
}

std::size_t CurlTransfer::onHeader(char*, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.m_headerBytes += size * count;
    transfer.m_tooLarge = transfer.m_headerBytes > maxHeaderBytes;
    return transfer.m_tooLarge ? 0 : size * count;
}

/// Comes before each request is sent: the first, those of redirects, and retries.
int CurlTransfer::onConnected(void* self, char*, char*, int, int) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    CURL* const easy = transfer.m_easy.get();
    if (!std::exchange(transfer.m_isConnected, true))
        transfer.m_queue.connected(isShared(easy));
    long opened = 0;
    curl_easy_getinfo(easy, CURLINFO_NUM_CONNECTS, &opened);
    transfer.m_isOnKeptConnection = opened == 0;
    const char* method = nullptr;
    curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_METHOD, &method);
    if (method && std::strcmp(method, "GET") == 0)
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, nullptr); // a redirect has dropped the body
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
