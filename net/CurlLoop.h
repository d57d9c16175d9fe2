#pragma once

#include "net/CurlTransfer.h"
#include "net/Descriptor.h"
#include "net/OriginQueue.h"

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace kopertal {

/// Drives any number of transfers by the descriptors that have something to say, so that one more
/// waiting transfer costs the others nothing. One thread. Nothing but the constructor throws: what
/// finds no memory is answered so.
class CurlLoop {
public:
    /// wait() also returns when `wakeUp`, an event descriptor, is signalled. Throws
    /// std::system_error when there is no descriptor to be had.
    CurlLoop(const HttpOptions& options, const SharedLimits& limits, int wakeUp);
    ~CurlLoop();
    CurlLoop(const CurlLoop&) = delete;
    CurlLoop& operator=(const CurlLoop&) = delete;

    /// Starts the order as soon as its queue lets it and there is a descriptor for it.
    void enqueue(Order order);

    /// Waits for the network or for `wakeUp`, and completes what has ended.
    void wait();

    /// Completes everything that is left as cancelled, without waiting for the network.
    void cancelAll();

private:
    using Clock = std::chrono::steady_clock;

    void open();
    void close();
    void admit();
    void start(Order order, OriginQueue& queue);
    void failTransfers(HttpFailure failure);
    void act(curl_socket_t socket, int flags);
    void completeFinished();
    void complete(CURL* handle, CURLcode code);
    int timeoutMs() const;
    static int onSocket(CURL*, curl_socket_t socket, int what, void* self, void* known);
    static int onTimer(CURLM*, long timeoutMs, void* self);

    int m_wakeUp;
    Descriptor m_epoll;
    TransferContext m_context;
    std::unique_ptr<CURLSH, Release<curl_share_cleanup>> m_share;
    std::unique_ptr<CURLM, Release<curl_multi_cleanup>> m_multi; // none while idle
    std::unordered_map<std::string, OriginQueue> m_queues;       // by origin
    std::unordered_map<CURL*, std::unique_ptr<CurlTransfer>> m_transfers;
    std::size_t m_ceiling = 1;      // transfers that the free descriptors allowed
    std::size_t m_capacity = 1;     // fewer in a shortage
    Clock::time_point m_shortUntil; // when a shortage is looked at again
    bool m_mayKeepConnections = false;
    std::optional<Clock::time_point> m_timer;
    Clock::time_point m_lastUse;
};

} // namespace kopertal
