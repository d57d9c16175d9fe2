#pragma once

#include <asio/io_context.hpp>

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>

namespace kopertal {

/// A granted part of the budget: given back when the last copy goes, on whatever thread.
using Reservation = std::shared_ptr<void>;

/// How many bytes all uploads of a server may hold at once. First come, first served, so that small
/// uploads cannot pass a large one for ever. Used on the thread that runs `context`.
class UploadBudget : public std::enable_shared_from_this<UploadBudget> {
public:
    UploadBudget(std::shared_ptr<asio::io_context> context, std::size_t capacity);

    /// Calls `grant` when there is room for `bytes`, which may be at once; what exceeds the whole
    /// capacity is granted alone.
    void reserve(std::size_t bytes, const void* asker, std::function<void(Reservation)> grant);

    /// Forgets what `asker` still waits for.
    void withdraw(const void* asker);

private:
    struct Request {
        std::size_t bytes;
        const void* asker;
        std::function<void(Reservation)> grant;
    };

    void serveWaiting();
    Reservation hold(std::size_t bytes);

    std::shared_ptr<asio::io_context> m_context;
    std::size_t m_capacity;
    std::size_t m_held = 0;
    std::deque<Request> m_waiting;
};

} // namespace kopertal
