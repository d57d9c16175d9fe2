#include "scan/UploadBudget.h"

#include <asio/post.hpp>

#include <algorithm>
#include <utility>

namespace kopertal {

Reservation::Reservation(std::weak_ptr<UploadBudget> budget, std::size_t bytes,
                         asio::ip::address peer)
    : m_budget(std::move(budget)), m_bytes(bytes), m_peer(std::move(peer)) {
}

Reservation::~Reservation() {
    if (const std::shared_ptr<UploadBudget> budget = m_budget.lock())
        budget->giveBack(m_bytes, m_peer);
}

void Reservation::shrink(std::size_t bytes) {
    const std::size_t kept = std::max(bytes, UploadBudget::leastReservation);
    const std::shared_ptr<UploadBudget> budget = m_budget.lock();
    if (budget && kept < m_bytes)
        budget->giveBack(std::exchange(m_bytes, kept) - kept, m_peer);
}

UploadBudget::UploadBudget(std::shared_ptr<asio::io_context> context, std::size_t capacity)
    : m_context(std::move(context)), m_capacity(capacity) {
}

void UploadBudget::reserve(std::size_t bytes, const UploadOwner& owner,
                           std::function<void(Reservation)> grant) {
    m_waiting.push_back({std::max(bytes, leastReservation), owner, std::move(grant)});
    serveWaiting();
}

void UploadBudget::withdraw(const void* upload) {
    if (std::erase_if(m_waiting, [=](const Request& r) { return r.owner.upload == upload; }) > 0)
        serveWaiting();
}

void UploadBudget::serveWaiting() {
    while (!m_waiting.empty()) {
        const auto next = std::ranges::min_element(
            m_waiting, {}, [this](const Request& r) { return heldBy(r.owner.peer); });
        if (m_held > 0 && m_held + next->bytes > m_capacity)
            return;
        const Request request = std::move(*next);
        m_waiting.erase(next);
        m_held += request.bytes;
        m_heldByPeer[request.owner.peer] += request.bytes;
        request.grant(Reservation(weak_from_this(), request.bytes, request.owner.peer));
    }
}

std::size_t UploadBudget::heldBy(const asio::ip::address& peer) const {
    const auto held = m_heldByPeer.find(peer);
    return held == m_heldByPeer.end() ? 0 : held->second;
}

void UploadBudget::giveBack(std::size_t bytes, const asio::ip::address& peer) {
    asio::post(*m_context, [weak = weak_from_this(), bytes, peer] {
        if (const std::shared_ptr<UploadBudget> budget = weak.lock()) {
            budget->m_held -= bytes;
            const auto held = budget->m_heldByPeer.find(peer);
            held->second -= bytes;
            if (held->second == 0)
                budget->m_heldByPeer.erase(held);
            budget->serveWaiting();
        }
    });
}

} // namespace kopertal
