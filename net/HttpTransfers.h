#pragma once

#include "net/HttpCarrier.h"

#include <memory>
#include <vector>

namespace kopertal {

class TransferThread;

/// Carries any number of HTTP requests at once, on a thread of its own; a burst on two, because
/// what connections cost the system is then spread over two processors.
///
/// There is no limit per host; requests beyond the free descriptors wait their turn. HTTP/2 is used
/// and shared where a server offers it, connections are kept for a while, certificates are checked,
/// redirects (at most 20) are followed, proxies of the environment are used except for this
/// machine. All functions may be called from any thread.
class HttpTransfers : public HttpCarrier {
public:
    /// Raises the process's limit of descriptors. Throws std::runtime_error, with a message for the
    /// user, when there is no descriptor or thread to be had.
    explicit HttpTransfers(const HttpOptions& options);
    /// Answers everything that is left as cancelled, and does not wait for the network. When it
    /// returns, every completion has. No other thread may send any more.
    ~HttpTransfers() override;

    /// Completions are called on one of the threads, also at destruction. They must not destroy the
    /// object; they may send again, but not when they were cancelled. Whatever goes wrong is an
    /// answer; that there is no memory can be one before this returns.
    void send(HttpRequest request, Completion completion) override;

private:
    TransferThread& leastLoaded() const;

    std::vector<std::unique_ptr<TransferThread>> m_threads;
};

} // namespace kopertal
