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
    /// Gets the answer, exactly once, on the worker thread, also at destruction. Must not block,
    /// nor throw, nor destroy the object; may send again, but not when it was cancelled.
    using Completion = std::function<void(HttpAnswer)>;

    /// Raises the process's limit of descriptors. Throws std::runtime_error, with a message for the
    /// user, when there is no descriptor or thread to be had.
    explicit HttpTransfers(HttpOptions options);
    /// Answers everything that is left as cancelled, and does not wait for the network. When it
    /// returns, every completion has. No other thread may send any more.
    ~HttpTransfers();
    HttpTransfers(const HttpTransfers&) = delete;
    HttpTransfers& operator=(const HttpTransfers&) = delete;

    /// Throws std::bad_alloc, and does not call the completion then; whatever else goes wrong is an
    /// answer.
    void send(HttpRequest request, Completion completion);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace kopertal
