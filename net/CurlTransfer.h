#pragma once

#include "net/HttpMessage.h"
#include "net/OriginQueue.h"
#include "net/ProxyExceptions.h"

#include <curl/curl.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <string>

namespace kopertal {

template <auto release>
struct Release {
    template <typename T>
    void operator()(T* thing) const {
        release(thing);
    }
};

/// What the transfers of all loops share. Any thread.
struct SharedLimits {
    std::shared_ptr<ByteBudget> budget;                ///< For the answers' bodies.
    std::shared_ptr<std::atomic<std::size_t>> running; ///< Transfers, each with its descriptors.
    std::size_t loops = 1;                             ///< That divide the descriptors.
};

/// What all transfers of one loop have in common. Its thread only.
struct TransferContext {
    HttpOptions options;
    SharedLimits limits;
    ProxyExceptions proxyExceptions;
    CURLSH* share = nullptr; ///< Holds TLS sessions, so that later connections start faster.
};

/// One request under way in libcurl.
class CurlTransfer {
public:
    /// Tells `queue`, where the order comes from, what becomes of its connection. Throws
    /// std::bad_alloc.
    CurlTransfer(Order order, OriginQueue& queue, TransferContext& context);
    ~CurlTransfer();
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    CURL* handle() const { return m_easy.get(); }

    /// The transfer starts to use `socket`. Limits how long it may go unacknowledged on a kept
    /// connection; a new one has just shown that its peer lives.
    static void watchSocket(CURL* easy, curl_socket_t socket);

    /// Whether it failed because the process had no descriptor left.
    bool lacksDescriptor(CURLcode code) const;
    /// Puts the order back into its queue, to be started anew; the transfer has no further use.
    void putBack();

    /// Hands out the answer.
    void finish(CURLcode code);

    /// Hands out that there is no answer.
    void fail(HttpFailure failure);

private:
    template <typename T>
    void set(CURLoption option, T value);
    void addHeader(const char* header);
    void setRequestOptions();
    void setTransportOptions(const TransferContext& context);

    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self);
    static curl_socket_t onOpenSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int onConnected(void* self, char*, char*, int, int);

    Order m_order;
    OriginQueue& m_queue;
    TransferContext& m_context;
    std::unique_ptr<CURL, Release<curl_easy_cleanup>> m_easy;
    std::unique_ptr<curl_slist, Release<curl_slist_free_all>> m_headers;
    std::array<char, CURL_ERROR_SIZE> m_error{};
    std::shared_ptr<ReceivedBody> m_body;
    std::size_t m_headerBytes = 0;
    bool m_isConnected = false;
    bool m_isOnKeptConnection = false;
    bool m_tooLarge = false;
    bool m_lacksDescriptor = false;
};

} // namespace kopertal
