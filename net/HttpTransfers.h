#pragma once

#include "net/HttpCarrier.h"

#include <memory>

namespace kopertal {

/// Carries any number of HTTP requests at once, on one thread of its own.
///
/// There is no limit per host; requests beyond the free descriptors wait their turn. HTTP/2 is used
/// and shared where a server offers it, connections are kept for a while, certificates are checked,
/// redirects (at most 20) are followed, proxies of the environment are used except for this
/// machine. All functions may be called from any thread.
class HttpTransfers : public HttpCarrier {
public:
    /// Raises the process's limit of descriptors.
    explicit HttpTransfers(HttpOptions options);
    /// Answers everything that is left as cancelled, and does not wait for the network.
    ~HttpTransfers() override;

    /// Completions are called on the worker thread.
    void send(HttpRequest request, Completion completion) override;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace kopertal
