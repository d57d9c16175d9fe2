#pragma once

#include "net/HttpMessage.h"
#include "net/HttpTransfers.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>

namespace kopertal {

/// A request and who waits for its answer, who gets exactly one: an order that is dropped without,
/// as an exception does, answers that there is no memory.
class Order {
public:
    Order(HttpRequest request, HttpTransfers::Completion completion);
    Order(Order&& other) noexcept;
    Order& operator=(Order&&) = delete;
    ~Order();

    /// Counts it in `load`, which outlives it, from now until it is gone.
    void countIn(std::atomic<std::size_t>& load);

    /// Does nothing when there was an answer already.
    void complete(HttpAnswer answer);
    void fail(HttpFailure failure);

    HttpRequest request;
    bool mayWait = true; ///< For room on a connection that another order is opening.

private:
    HttpTransfers::Completion m_completion; ///< Until it is called.
    std::atomic<std::size_t>* m_load = nullptr;
};

/// The orders for one server that have not started.
///
/// Where connections are shared (HTTP/2) a burst must not open one for each request: an order
/// starts when the one before it has its connection, and so either finds room on that one or opens
/// the next. A server that does not share gets all at once after the first connection, when its
/// name has been looked up; and so does one that takes too long to connect.
class OriginQueue {
public:
    using Clock = std::chrono::steady_clock;

    bool isEmpty() const { return m_orders.empty(); }
    void push(Order&& order);
    /// Puts back what next() gave.
    void pushFront(Order&& order);

    /// The next order, when it may start now.
    std::optional<Order> next();
    /// Hands out that they were cancelled.
    void cancelAll();
    /// When next() will give the rest in any case.
    Clock::time_point opensAt() const { return m_opensAt; }

    /// An order that next() gave is being started.
    void starts() { ++m_connecting; }
    /// A started order has its connection.
    void connected(bool isShared);
    /// A started order has ended without one.
    void failedToConnect();
    /// A started order has ended and may have left its connection to the next.
    void ended() { m_mayKeep = true; }
    /// Whether an order can find a connection that stands already.
    bool mayHaveConnection() const { return m_mayShare || m_mayKeep; }

private:
    bool m_mayShare = true;
    bool m_mayKeep = false;
    std::deque<Order> m_orders;
    int m_connecting = 0;
    Clock::time_point m_opensAt;
};

/// The part of an address up to its path: what requests to one server have in common.
std::string originOf(const std::string& url);

} // namespace kopertal
