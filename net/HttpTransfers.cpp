#include "net/HttpTransfers.h"

#include "net/CurlLoop.h"
#include "net/DescriptorLimit.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <pthread.h>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kopertal {
namespace {

void initializeLibrary() {
    static const CURLcode code = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (code != CURLE_OK)
        throw std::runtime_error(curl_easy_strerror(code));
}

/// Signals belong to the program's other threads; SIGPIPE, which TLS raises when a peer has gone,
/// to none.
void blockSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
}

} // namespace

struct HttpTransfers::State {
    explicit State(HttpOptions options)
        : wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), loop(std::move(options), wakeUp.get()) {}

    void run();
    void signal() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(wakeUp.get(), &one, sizeof one);
    }

    Descriptor wakeUp;
    CurlLoop loop; // the worker's
    std::mutex mutex;
    std::vector<Order> incoming; // guarded
    bool stopping = false;       // guarded
    std::thread worker;
};

void HttpTransfers::State::run() {
    blockSignals();
    for (;;) {
        std::vector<Order> orders;
        bool stop = false;
        {
            const std::lock_guard lock(mutex);
            orders.swap(incoming);
            stop = stopping;
        }
        for (Order& order : orders)
            loop.enqueue(std::move(order));
        if (stop)
            return;
        loop.wait();
    }
}

HttpTransfers::HttpTransfers(HttpOptions options) {
    initializeLibrary();
    raiseDescriptorLimit();
    m_state = std::make_unique<State>(std::move(options));
    m_state->worker = std::thread([state = m_state.get()] { state->run(); });
}

HttpTransfers::~HttpTransfers() {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->stopping = true;
    }
    m_state->signal();
    m_state->worker.join();
}

void HttpTransfers::send(HttpRequest request, Completion completion) {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->incoming.push_back({std::move(request), std::move(completion)});
    }
    m_state->signal();
}

} // namespace kopertal
