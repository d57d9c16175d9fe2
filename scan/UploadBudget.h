#pragma once

#include <asio/io_context.hpp>

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>

namespace kopertal {

class UploadBudget;

/// A granted part of the budget: given back when it goes, on whatever thread.
class Reservation {
public:
    Reservation(std::weak_ptr<UploadBudget> budget, std::size_t bytes);
    Reservation(Reservation&&) = default;
    Reservation& operator=(Reservation&&) = delete;
    ~Reservation();

    /// Gives back what exceeds `bytes`.
    void shrink(std::size_t bytes);

private:
    std::weak_ptr<UploadBudget> m_budget;
    std::size_t m_bytes;
};

/// How many bytes all uploads of a server may hold at once. First come, first served, so that small
/// uploads cannot pass a large one for ever. Used on the thread that runs `context`.
class UploadBudget : public std::enable_shared_from_this<UploadBudget> {
public:
    UploadBudget(std::shared_ptr<asio::io_context> context, std::size_t capacity);

    /// What the smallest upload counts as: its page, its place in every queue and its turn at the
    /// recogniser cost far more than its bytes, and so the number of photos is bounded too.
    static constexpr std::size_t leastReservation = 65'536;

    /// Calls `grant` when there is room for `bytes` or the least reservation, which may be at once;
    /// what exceeds the whole capacity is granted alone.
    void reserve(std::size_t bytes, const void* asker, std::function<void(Reservation)> grant);

    /// Forgets what `asker` still waits for.
    void withdraw(const void* asker);

    /// Makes room again. May be called on any thread.
    void giveBack(std::size_t bytes);

private:
    struct Request {
        std::size_t bytes;
        const void* asker;
        std::function<void(Reservation)> grant;
    };

    void serveWaiting();

    std::shared_ptr<asio::io_context> m_context;
    std::size_t m_capacity;
    std::size_t m_held = 0;
    std::deque<Request> m_waiting;
};

} // namespace kopertal
