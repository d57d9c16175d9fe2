#include "net/HttpTransfers.h"

#include "net/CurlLoop.h"
#include "net/DescriptorLimit.h"

#include <atomic>
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

// For this object, one connection and the threads that read the answer: libraries end the process
// when they find none for an event loop.
constexpr std::size_t leastDescriptors = 12;

void initializeLibrary() {
    static const CURLcode code = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (code != CURLE_OK)
        throw std::runtime_error("Nie można uruchomić obsługi sieci.");
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
    void cancelEverything();
    std::vector<Order> takeIncoming();
    void signal() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(wakeUp.get(), &one, sizeof one);
    }

    Descriptor wakeUp;
    CurlLoop loop; // the worker's
    std::mutex mutex;
    std::vector<Order> incoming; // guarded
    std::atomic<bool> stopping = false;
    std::thread worker;
};

void HttpTransfers::State::run() {
    blockSignals();
    while (!stopping) {
        for (Order& order : takeIncoming())
            loop.enqueue(std::move(order));
        loop.wait();
    }
    cancelEverything();
}

void HttpTransfers::State::cancelEverything() {
    loop.cancelAll();
    // Completions may have sent more.
    for (std::vector<Order> orders; !(orders = takeIncoming()).empty();) {
        for (Order& order : orders)
            order.fail(HttpFailure::cancelled);
    }
}

std::vector<Order> HttpTransfers::State::takeIncoming() {
    const std::lock_guard lock(mutex);
    return std::exchange(incoming, {});
}

HttpTransfers::HttpTransfers(HttpOptions options) {
    initializeLibrary();
    raiseDescriptorLimit();
    try {
        if (freeDescriptors() < leastDescriptors)
            throw std::system_error(EMFILE, std::generic_category());
        m_state = std::make_unique<State>(std::move(options));
        m_state->worker = std::thread([state = m_state.get()] { state->run(); });
    } catch (const std::system_error&) {
        throw std::runtime_error("Nie można połączyć się z siecią: system nie pozwala programowi "
                                 "otworzyć więcej plików lub połączeń.");
    }
}

HttpTransfers::~HttpTransfers() {
    m_state->stopping = true;
    m_state->signal();
    m_state->worker.join();
}

void HttpTransfers::send(HttpRequest request, Completion completion) {
    bool isFirst = false;
    {
        const std::lock_guard lock(m_state->mutex);
        isFirst = m_state->incoming.empty();
        m_state->incoming.emplace_back(std::move(request), std::move(completion));
    }
    if (isFirst) // else the worker knows already
        m_state->signal();
}

} // namespace kopertal
