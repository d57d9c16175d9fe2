#include "scan/UploadBudget.h"

#include <asio/post.hpp>

#include <algorithm>
#include <utility>

namespace kopertal {

Reservation::Reservation(std::weak_ptr<UploadBudget> budget, std::size_t bytes)
    : m_budget(std::move(budget)), m_bytes(bytes) {
}

Reservation::~Reservation() {
    if (const std::shared_ptr<UploadBudget> budget = m_budget.lock())
        budget->giveBack(m_bytes);
}

void Reservation::shrink(std::size_t bytes) {
    const std::size_t kept = std::max(bytes, UploadBudget::leastReservation);
    const std::shared_ptr<UploadBudget> budget = m_budget.lock();
    if (budget && kept < m_bytes)
        budget->giveBack(std::exchange(m_bytes, kept) - kept);
}

UploadBudget::UploadBudget(std::shared_ptr<asio::io_context> context, std::size_t capacity)
    : m_context(std::move(context)), m_capacity(capacity) {
}

void UploadBudget::reserve(std::size_t bytes, const void* asker,
                           std::function<void(Reservation)> grant) {
    m_waiting.push_back({std::max(bytes, leastReservation), asker, std::move(grant)});
    serveWaiting();
}

void UploadBudget::withdraw(const void* asker) {
    if (std::erase_if(m_waiting, [asker](const Request& r) { return r.asker == asker; }) > 0)
        serveWaiting();
}

void UploadBudget::serveWaiting() {
    while (!m_waiting.empty() && (m_held == 0 || m_held + m_waiting.front().bytes <= m_capacity)) {
        const Request request = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_held += request.bytes;
        request.grant(Reservation(weak_from_this(), request.bytes));
    }
}

void UploadBudget::giveBack(std::size_t bytes) {
    asio::post(*m_context, [weak = weak_from_this(), bytes] {
        if (const std::shared_ptr<UploadBudget> budget = weak.lock()) {
            budget->m_held -= bytes;
            budget->serveWaiting();
        }
    });
}

} // namespace kopertal
