#include "net/TransferThread.h"

#include <csignal>
#include <cstdint>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace kopertal {
namespace {

/// Signals belong to the program's other threads; SIGPIPE, which TLS raises when a peer has gone,
/// to none.
void blockSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
}

} // namespace

TransferThread::TransferThread(const HttpOptions& options, const SharedLimits& limits)
    : m_wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_loop(options, limits, m_wakeUp.get()),
      m_thread([this] { run(); }) {
}

TransferThread::~TransferThread() {
    stop();
}

bool TransferThread::take(Order& order) {
    const std::lock_guard lock(m_mutex);
    if (m_hasEnded)
        return false;
    m_incoming.push_back(std::move(order));
    m_incoming.back().countIn(m_load);
    if (m_incoming.size() == 1) // else the thread knows already
        signal();
    return true;
}

void TransferThread::stop() {
    m_stopping = true;
    signal();
    if (m_thread.joinable())
        m_thread.join();
}

void TransferThread::run() {
    blockSignals();
    while (!m_stopping) {
        for (Order& order : takeIncoming())
            m_loop.enqueue(std::move(order));
        m_loop.wait();
    }
    m_loop.cancelAll();
    // Completions may have sent more.
    for (std::vector<Order> orders; !(orders = takeLast()).empty();) {
        for (Order& order : orders)
            order.fail(HttpFailure::cancelled);
    }
}

std::vector<Order> TransferThread::takeIncoming() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_incoming, {});
}

/// When it gives none, there will be no more.
std::vector<Order> TransferThread::takeLast() {
    const std::lock_guard lock(m_mutex);
    m_hasEnded = m_incoming.empty();
    return std::exchange(m_incoming, {});
}

void TransferThread::signal() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(m_wakeUp.get(), &one, sizeof one);
}

} // namespace kopertal
