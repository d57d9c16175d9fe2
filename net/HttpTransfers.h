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
    /// Raises the process's limit of descriptors. Throws std::runtime_error, with a message for the
    /// user, when there is no descriptor or thread to be had.
    explicit HttpTransfers(HttpOptions options);
    /// Answers everything that is left as cancelled, and does not wait for the network. When it
    /// returns, every completion has. No other thread may send any more.
    ~HttpTransfers() override;

    /// Completions are called on the worker thread, also at destruction. They must not destroy the
    /// object; they may send again, but not when they were cancelled. Throws std::bad_alloc, and
    /// does not call the completion then; whatever else goes wrong is an answer.
    void send(HttpRequest request, Completion completion) override;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace kopertal
