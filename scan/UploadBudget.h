#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/address.hpp>

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>

namespace kopertal {

class UploadBudget;

/// Who asks for room: the address, and which of its uploads.
struct UploadOwner {
    asio::ip::address peer;
    const void* upload = nullptr;
};

/// A granted part of the budget: given back when it goes, on whatever thread.
class Reservation {
public:
    Reservation(std::weak_ptr<UploadBudget> budget, std::size_t bytes, asio::ip::address peer);
    Reservation(Reservation&&) = default;
    Reservation& operator=(Reservation&&) = delete;
    ~Reservation();

    /// Gives back what exceeds `bytes`.
    void shrink(std::size_t bytes);

private:
    std::weak_ptr<UploadBudget> m_budget;
    std::size_t m_bytes;
    asio::ip::address m_peer;
};

/// How many bytes all uploads of a server may hold at once. The peer that holds least is served
/// first, so that one with many uploads cannot keep out a phone with one; among equals who came
/// first, so that small uploads cannot pass a large one for ever. Used on the thread that runs
/// `context`.
class UploadBudget : public std::enable_shared_from_this<UploadBudget> {
public:
    UploadBudget(std::shared_ptr<asio::io_context> context, std::size_t capacity);

    /// What the smallest upload counts as: its page, its place in every queue and its turn at the
    /// recogniser cost far more than its bytes, and so the number of photos is bounded too.
    static constexpr std::size_t leastReservation = 65'536;

    /// Calls `grant` when there is room for `bytes` or the least reservation, which may be at once;
    /// what exceeds the whole capacity is granted alone.
    void reserve(std::size_t bytes, const UploadOwner& owner,
                 std::function<void(Reservation)> grant);

    /// Forgets what `upload` still waits for.
    void withdraw(const void* upload);

    /// Whether an upload waits for room.
    bool isAwaited() const { return !m_waiting.empty(); }

    /// Makes room again. May be called on any thread.
    void giveBack(std::size_t bytes, const asio::ip::address& peer);

private:
    struct Request {
        std::size_t bytes;
        UploadOwner owner;
        std::function<void(Reservation)> grant;
    };

    void serveWaiting();
    std::size_t heldBy(const asio::ip::address& peer) const;

    std::shared_ptr<asio::io_context> m_context;
    std::size_t m_capacity;
    std::size_t m_held = 0;
    std::map<asio::ip::address, std::size_t> m_heldByPeer;
    std::deque<Request> m_waiting;
};

} // namespace kopertal
