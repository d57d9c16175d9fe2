#pragma once

#include "net/HttpMessage.h"

#include <functional>

namespace kopertal {

/// What carries the requests of a client. May be called from any thread.
class HttpCarrier {
public:
    /// Gets the answer, exactly once, on any thread; must not block and not throw.
    using Completion = std::function<void(HttpAnswer)>;

    HttpCarrier() = default;
    /// Answers everything that is left as cancelled.
    virtual ~HttpCarrier() = default;
    HttpCarrier(const HttpCarrier&) = delete;
    HttpCarrier& operator=(const HttpCarrier&) = delete;

    virtual void send(HttpRequest request, Completion completion) = 0;
};

} // namespace kopertal
