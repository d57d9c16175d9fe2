#include "net/HttpTransfers.h"

#include "net/DescriptorLimit.h"
#include "net/TransferThread.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace kopertal {
namespace {

// For this object and one connection, with the files that its library reads.
constexpr std::size_t leastDescriptors = 12;

// With fewer, what one thread keeps would be missing for the other.
constexpr std::size_t descriptorsForTwo = 128;

// So many requests go to the first thread before the second gets any: few ones, one after the
// other, shall find each other's connections.
constexpr std::size_t burst = 32;

void initializeLibrary() {
    static const CURLcode code = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (code != CURLE_OK)
        throw std::runtime_error("Nie można uruchomić obsługi sieci.");
}

} // namespace

HttpTransfers::HttpTransfers(const HttpOptions& options) {
    initializeLibrary();
    raiseDescriptorLimit();
    const std::size_t free = freeDescriptors();
    SharedLimits limits;
    limits.budget = std::make_shared<ByteBudget>(options.maxTotalBytes);
    limits.running = std::make_shared<std::atomic<std::size_t>>(0);
    limits.loops = free < descriptorsForTwo ? 1 : 2;
    try {
        if (free < leastDescriptors)
            throw std::system_error(EMFILE, std::generic_category());
        while (m_threads.size() < limits.loops)
            m_threads.push_back(std::make_unique<TransferThread>(options, limits));
    } catch (const std::system_error&) {
        if (m_threads.empty())
            throw std::runtime_error("Nie można połączyć się z siecią: system nie pozwala "
                                     "programowi otworzyć więcej plików lub połączeń.");
    }
}

/// The first thread ends last: it answers what the completions of the other have sent.
HttpTransfers::~HttpTransfers() {
    for (auto thread = m_threads.rbegin(); thread != m_threads.rend(); ++thread)
        (*thread)->stop();
}

void HttpTransfers::send(HttpRequest request, Completion completion) try {
    Order order(std::move(request), std::move(completion));
    if (!leastLoaded().take(order))
        m_threads.front()->take(order);
} catch (const std::bad_alloc&) {
    // The order has answered so.
}

TransferThread& HttpTransfers::leastLoaded() const {
    if (m_threads.front()->load() < burst)
        return *m_threads.front();
    return **std::ranges::min_element(m_threads, {},
                                      [](const auto& thread) { return thread->load(); });
}

} // namespace kopertal
