#pragma once

#include "net/CurlLoop.h"
#include "net/Descriptor.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <thread>
#include <vector>

namespace kopertal {

/// Carries orders on a thread of its own.
class TransferThread {
public:
    /// Throws std::system_error when there is no descriptor or thread to be had.
    TransferThread(const HttpOptions& options, const SharedLimits& limits);
    ~TransferThread();

    /// Takes the order, unless the thread has been stopped. Any thread. Throws std::bad_alloc, and
    /// has not taken the order then.
    bool take(Order& order);

    /// How many orders it has taken that are not answered yet. Any thread.
    std::size_t load() const { return m_load; }

    /// Returns when the thread has answered everything that is left, as cancelled, and ended.
    void stop();

private:
    void run();
    std::vector<Order> takeIncoming();
    std::vector<Order> takeLast();
    void signal() const;

    Descriptor m_wakeUp;
    std::atomic<std::size_t> m_load = 0; // orders refer to it
    CurlLoop m_loop;                     // the thread's
    std::mutex m_mutex;
    std::vector<Order> m_incoming; // guarded
    bool m_hasEnded = false;       // guarded
    std::atomic<bool> m_stopping = false;
    std::thread m_thread;
};

} // namespace kopertal
