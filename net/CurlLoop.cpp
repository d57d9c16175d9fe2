#include "net/CurlLoop.h"

#include "net/DescriptorLimit.h"
#include "net/ProxyExceptions.h"

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

Descriptor::~Descriptor() {
    if (m_value >= 0)
        ::close(m_value);
}

CurlLoop::CurlLoop(HttpOptions options, int wakeUp)
    : m_wakeUp(wakeUp), m_epoll(epoll_create1(EPOLL_CLOEXEC)) {
    if (m_epoll.get() < 0)
        throw std::system_error(errno, std::generic_category());
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = wakeUp;
    if (epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, wakeUp, &event) != 0)
        throw std::system_error(errno, std::generic_category());
    m_context.options = std::move(options);
    m_context.proxyExceptions = proxyExceptions();
}

CurlLoop::~CurlLoop() {
    for (const auto& [handle, transfer] : m_transfers) {
        curl_multi_remove_handle(m_multi.get(), handle);
        CurlTransfer::cancel(transfer->takeOrder());
    }
    m_transfers.clear();
    close();
    for (const Order& order : m_waiting)
        CurlTransfer::cancel(order);
}

void CurlLoop::open() {
    m_share.reset(curl_share_init());
    m_multi.reset(curl_multi_init());
    if (!m_share || !m_multi)
        throw std::bad_alloc();
    curl_share_setopt(m_share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    m_context.share = m_share.get();
    m_capacity = spareDescriptors() * 3 / 4 + 1; // a connection attempt can take more than one

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

void CurlLoop::enqueue(Order order) {
    m_waiting.push_back(std::move(order));
    admit();
}

void CurlLoop::admit() {
    while (!m_waiting.empty() && m_transfers.size() < m_capacity) {
        if (!m_multi)
            open();
        Order order = std::move(m_waiting.front());
        m_waiting.pop_front();
        start(std::move(order));
    }
}

void CurlLoop::start(Order order) {
    auto transfer = std::make_unique<CurlTransfer>(std::move(order), m_context);
    CURL* const handle = transfer->handle();
    const CURLMcode code = curl_multi_add_handle(m_multi.get(), handle);
    if (code != CURLM_OK)
        transfer->finish(CURLE_FAILED_INIT);
    else
        m_transfers.emplace(handle, std::move(transfer));
    m_lastUse = Clock::now();
}

void CurlLoop::wait() {
    std::array<epoll_event, 256> events;
    const int count =
        epoll_wait(m_epoll.get(), events.data(), static_cast<int>(events.size()), timeoutMs());
    int running = 0;
    for (int i = 0; i < count; ++i) {
        const epoll_event& event = events[static_cast<std::size_t>(i)];
        if (event.data.fd == m_wakeUp) {
            std::uint64_t signals = 0;
            [[maybe_unused]] const auto drained = ::read(m_wakeUp, &signals, sizeof signals);
        } else if (m_multi) {
            curl_multi_socket_action(m_multi.get(), event.data.fd, flagsOf(event.events), &running);
        }
    }
    if (m_timer && *m_timer <= Clock::now()) {
        m_timer.reset();
        curl_multi_socket_action(m_multi.get(), CURL_SOCKET_TIMEOUT, 0, &running);
    }
    completeFinished();
    admit();
    if (m_multi && m_transfers.empty() && Clock::now() - m_lastUse >= keepConnections)
        close();
}

int CurlLoop::timeoutMs() const {
    using std::chrono::ceil;
    using std::chrono::milliseconds;
    std::optional<Clock::time_point> next = m_timer;
    if (m_multi && m_transfers.empty())
        next = std::min(next.value_or(Clock::time_point::max()), m_lastUse + keepConnections);
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

void CurlLoop::complete(CURL* handle, CURLcode code) {
    curl_multi_remove_handle(m_multi.get(), handle);
    const auto found = m_transfers.find(handle);
    const std::unique_ptr<CurlTransfer> transfer = std::move(found->second);
    m_transfers.erase(found);
    m_lastUse = Clock::now();
    if (code != CURLE_OK && transfer->lacksDescriptor() && !m_transfers.empty()) {
        m_capacity = m_transfers.size();
        m_waiting.push_front(transfer->takeOrder());
    } else {
        transfer->finish(code);
    }
}

int CurlLoop::onSocket(CURL*, curl_socket_t socket, int what, void* self, void* known) {
    auto& loop = *static_cast<CurlLoop*>(self);
    if (what == CURL_POLL_REMOVE) {
        epoll_ctl(loop.m_epoll.get(), EPOLL_CTL_DEL, socket, nullptr);
        return 0;
    }
    epoll_event event{};
    event.events = (what & CURL_POLL_IN ? EPOLLIN : 0U) | (what & CURL_POLL_OUT ? EPOLLOUT : 0U);
    event.data.fd = socket;
    const int operation = known ? EPOLL_CTL_MOD : EPOLL_CTL_ADD;
    if (epoll_ctl(loop.m_epoll.get(), operation, socket, &event) != 0)
        return -1;
    if (!known)
        curl_multi_assign(loop.m_multi.get(), socket, self); // any pointer: "known"
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
