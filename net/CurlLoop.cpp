#include "net/CurlLoop.h"

#include "net/DescriptorLimit.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <new>
#include <sys/epoll.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace kopertal {
namespace {

constexpr std::chrono::seconds keepConnections{60};
constexpr std::chrono::milliseconds shortageBreak{250};
constexpr long streamsPerConnection = 1000; // the server's own limit is what counts

int flagsOf(std::uint32_t events) {
    int flags = 0;
    if (events & EPOLLIN)
        flags |= CURL_CSELECT_IN;
    if (events & EPOLLOUT)
        flags |= CURL_CSELECT_OUT;
    if (events & (EPOLLERR | EPOLLHUP))
        flags |= CURL_CSELECT_ERR;
    return flags;
}

} // namespace

CurlLoop::CurlLoop(const HttpOptions& options, const SharedLimits& limits, int wakeUp)
    : m_wakeUp(wakeUp), m_epoll(epoll_create1(EPOLL_CLOEXEC)) {
    if (m_epoll.get() < 0)
        throw std::system_error(errno, std::generic_category());
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = wakeUp;
    if (epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, wakeUp, &event) != 0)
        throw std::system_error(errno, std::generic_category());
    m_context.options = options;
    m_context.limits = limits;
}

CurlLoop::~CurlLoop() {
    cancelAll();
}

void CurlLoop::cancelAll() {
    failTransfers(HttpFailure::cancelled);
    for (auto& [origin, queue] : m_queues)
        queue.cancelAll();
}

/// Fails everything under way, and forgets the connections.
void CurlLoop::failTransfers(HttpFailure failure) {
    for (const auto& [handle, transfer] : m_transfers) {
        curl_multi_remove_handle(m_multi.get(), handle);
        transfer->fail(failure);
    }
    m_transfers.clear();
    close();
}

void CurlLoop::open() {
    decltype(m_share) share(curl_share_init());
    decltype(m_multi) opened(curl_multi_init());
    if (!share || !opened)
        throw std::bad_alloc();
    // A connection attempt can take more than one.
    m_ceiling = spareDescriptors() * 3 / 4 / m_context.limits.loops + 1;
    m_capacity = m_ceiling;
    m_mayKeepConnections = false;
    m_share = std::move(share);
    m_multi = std::move(opened);
    curl_share_setopt(m_share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    m_context.share = m_share.get();

    CURLM* const multi = m_multi.get();
    curl_multi_setopt(multi, CURLMOPT_SOCKETFUNCTION, &CurlLoop::onSocket);
    curl_multi_setopt(multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi, CURLMOPT_TIMERFUNCTION, &CurlLoop::onTimer);
    curl_multi_setopt(multi, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(multi, CURLMOPT_PIPELINING, static_cast<long>(CURLPIPE_MULTIPLEX));
    curl_multi_setopt(multi, CURLMOPT_MAX_CONCURRENT_STREAMS, streamsPerConnection);
    // Idle connections are kept for the next requests, not closed as the burst ebbs away.
    curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, static_cast<long>(m_capacity));
}

void CurlLoop::close() {
    m_multi.reset(); // closes the kept connections
    m_share.reset();
    m_timer.reset();
}

void CurlLoop::enqueue(Order order) try {
    m_queues[originOf(order.request.url)].push(std::move(order));
    admit();
} catch (const std::bad_alloc&) {
    // The order has answered so.
}

void CurlLoop::admit() {
    for (auto& [origin, queue] : m_queues) {
        while (m_transfers.size() < m_capacity || !m_multi) {
            std::optional<Order> order = queue.next();
            if (!order)
                break;
            start(std::move(*order), queue);
        }
    }
}

void CurlLoop::start(Order order, OriginQueue& queue) try {
    if (!m_multi)
        open();
    auto created = std::make_unique<CurlTransfer>(std::move(order), queue, m_context);
    CURL* const handle = created->handle();
    CurlTransfer& transfer = *m_transfers.emplace(handle, std::move(created)).first->second;
    m_lastUse = Clock::now();
    const CURLMcode code = curl_multi_add_handle(m_multi.get(), handle);
    if (code != CURLM_OK) {
        transfer.fail(code == CURLM_OUT_OF_MEMORY ? HttpFailure::noMemory : HttpFailure::other);
        m_transfers.erase(handle);
    }
} catch (const std::bad_alloc&) {
    // The order has answered so.
}

void CurlLoop::wait() {
    std::array<epoll_event, 256> events;
    const int count =
        epoll_wait(m_epoll.get(), events.data(), static_cast<int>(events.size()), timeoutMs());
    for (int i = 0; i < count; ++i) {
        const epoll_event& event = events[static_cast<std::size_t>(i)];
        if (event.data.fd == m_wakeUp) {
            std::uint64_t signals = 0;
            [[maybe_unused]] const auto drained = ::read(m_wakeUp, &signals, sizeof signals);
        } else if (m_multi) {
            act(event.data.fd, flagsOf(event.events));
        }
    }
    if (m_timer && *m_timer <= Clock::now()) {
        m_timer.reset();
        act(CURL_SOCKET_TIMEOUT, 0);
    }
    completeFinished();
    if (m_capacity < m_ceiling && Clock::now() >= m_shortUntil) {
        m_capacity =
            std::clamp(2 * m_capacity, std::size_t{1}, m_ceiling); // others may have closed theirs
        m_shortUntil = Clock::now() + shortageBreak;
    }
    admit();
    if (m_multi && m_transfers.empty() && Clock::now() - m_lastUse >= keepConnections) {
        close();
        m_queues.clear(); // empty; what they learnt of their servers is old
    }
}

void CurlLoop::act(curl_socket_t socket, int flags) {
    int running = 0;
    const CURLMcode code = curl_multi_socket_action(m_multi.get(), socket, flags, &running);
    if (code == CURLM_OK || code == CURLM_BAD_SOCKET) // closed by what came before
        return;
    completeFinished();
    failTransfers(code == CURLM_OUT_OF_MEMORY ? HttpFailure::noMemory : HttpFailure::other);
}

int CurlLoop::timeoutMs() const {
    using std::chrono::ceil;
    using std::chrono::milliseconds;
    std::optional<Clock::time_point> next = m_timer;
    if (m_multi && m_transfers.empty())
        next = std::min(next.value_or(Clock::time_point::max()), m_lastUse + keepConnections);
    for (const auto& [origin, queue] : m_queues) {
        if (queue.isEmpty())
            continue;
        if (m_transfers.size() < m_capacity)
            next = std::min(next.value_or(Clock::time_point::max()), queue.opensAt());
        else if (m_capacity < m_ceiling)
            next = std::min(next.value_or(Clock::time_point::max()), m_shortUntil);
    }
    if (!next)
        return -1;
    return static_cast<int>(
        std::max(ceil<milliseconds>(*next - Clock::now()), milliseconds(0)).count());
}

void CurlLoop::completeFinished() {
    if (!m_multi)
        return;
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi.get(), &left)) {
        if (message->msg == CURLMSG_DONE)
            complete(message->easy_handle, message->data.result);
    }
}

void CurlLoop::complete(CURL* handle, CURLcode code) try {
    curl_multi_remove_handle(m_multi.get(), handle);
    const auto found = m_transfers.find(handle);
    std::unique_ptr<CurlTransfer> transfer = std::move(found->second);
    m_transfers.erase(found);
    m_lastUse = Clock::now();
    const bool isShort = transfer->lacksDescriptor(code);
    const bool othersRun = *m_context.limits.running > 1;
    if (isShort && othersRun) { // one of them will leave its descriptor
        m_capacity = m_transfers.size();
        m_shortUntil = Clock::now() + shortageBreak;
        transfer->putBack();
    } else if (isShort && m_mayKeepConnections) { // to servers that nobody asks now
        transfer->putBack();
        transfer.reset();
        close();
    } else {
        m_mayKeepConnections = m_mayKeepConnections || code == CURLE_OK;
        transfer->finish(code);
    }
} catch (const std::bad_alloc&) {
    // The order has answered so.
}

int CurlLoop::onSocket(CURL* easy, curl_socket_t socket, int what, void* self, void* known) {
    auto& loop = *static_cast<CurlLoop*>(self);
    if (what == CURL_POLL_REMOVE) {
        // Also told of sockets that are closed already. Their number may be another thread's by
        // now, which this set does not know.
        epoll_ctl(loop.m_epoll.get(), EPOLL_CTL_DEL, socket, nullptr);
        return 0;
    }
    epoll_event event{};
    event.events = (what & CURL_POLL_IN ? EPOLLIN : 0U) | (what & CURL_POLL_OUT ? EPOLLOUT : 0U);
    event.data.fd = socket;
    const int operation = known ? EPOLL_CTL_MOD : EPOLL_CTL_ADD;
    if (epoll_ctl(loop.m_epoll.get(), operation, socket, &event) != 0)
        return -1;
    if (!known) {
        curl_multi_assign(loop.m_multi.get(), socket, self); // any pointer: "known"
        CurlTransfer::watchSocket(easy, socket);
    }
    return 0;
}

int CurlLoop::onTimer(CURLM*, long timeoutMs, void* self) {
    auto& timer = static_cast<CurlLoop*>(self)->m_timer;
    if (timeoutMs < 0)
        timer.reset();
    else
        timer = Clock::now() + std::chrono::milliseconds(timeoutMs);
    return 0;
}

} // namespace kopertal
