#pragma once

#include "net/HttpMessage.h"
#include "net/HttpTransfers.h"

#include <curl/curl.h>

#include <array>
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

/// What all transfers of one loop have in common. Its thread only.
struct TransferContext {
    HttpOptions options;
    std::string proxyExceptions;
    CURLSH* share = nullptr;   ///< Holds TLS sessions, so that later connections start faster.
    std::size_t bytesHeld = 0; ///< The bodies of the answers under way.
};

/// A request and who waits for its answer.
struct Order {
    HttpRequest request;
    HttpTransfers::Completion completion;
};

/// One request under way in libcurl.
class CurlTransfer {
public:
    CurlTransfer(Order order, TransferContext& context);
    ~CurlTransfer();
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    CURL* handle() const { return m_easy.get(); }

    /// Whether it failed because the process had no descriptor left.
    bool lacksDescriptor() const { return m_lacksDescriptor; }
    /// Takes the order back, to start it anew; the transfer has no further use.
    Order takeOrder() { return std::move(m_order); }

    /// Hands out the answer.
    void finish(CURLcode code);

    /// Hands out that the order was cancelled.
    static void cancel(const Order& order);

private:
    void setRequestOptions();
    void setTransportOptions(const TransferContext& context);

    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self);
    static curl_socket_t onOpenSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    bool append(const char* data, std::size_t size) noexcept;

    Order m_order;
    TransferContext& m_context;
    std::unique_ptr<CURL, Release<curl_easy_cleanup>> m_easy;
    std::unique_ptr<curl_slist, Release<curl_slist_free_all>> m_headers;
    std::array<char, CURL_ERROR_SIZE> m_error{};
    std::string m_body;
    std::size_t m_headerBytes = 0;
    bool m_tooLarge = false;
    bool m_lacksDescriptor = false;
};

} // namespace kopertal
