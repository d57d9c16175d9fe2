#pragma once

#include "net/HttpMessage.h"

#include <functional>
#include <memory>

namespace kopertal {

/// Carries any number of HTTP requests at once, on one thread of its own.
///
/// There is no limit per host; requests beyond the free descriptors wait their turn. HTTP/2 is used
/// and shared where a server offers it, connections are kept for a while, certificates are checked,
/// redirects (at most 20) are followed, proxies of the environment are used except for this
/// machine. All functions may be called from any thread.
class HttpTransfers {
public:
    /// Gets the answer, exactly once, on the worker thread; must not block and not throw.
    using Completion = std::function<void(HttpAnswer)>;

    /// Raises the process's limit of descriptors.
    explicit HttpTransfers(HttpOptions options);
    /// Answers everything that is left as cancelled, and does not wait for the network.
    ~HttpTransfers();
    HttpTransfers(const HttpTransfers&) = delete;
    HttpTransfers& operator=(const HttpTransfers&) = delete;

    void send(HttpRequest request, Completion completion);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace kopertal
