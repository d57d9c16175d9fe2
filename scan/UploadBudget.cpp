#include "scan/UploadBudget.h"

#include <asio/post.hpp>

#include <utility>

namespace kopertal {

UploadBudget::UploadBudget(std::shared_ptr<asio::io_context> context, std::size_t capacity)
    : m_context(std::move(context)), m_capacity(capacity) {
}

void UploadBudget::reserve(std::size_t bytes, const void* asker,
                           std::function<void(Reservation)> grant) {
    m_waiting.push_back({bytes, asker, std::move(grant)});
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
        request.grant(hold(request.bytes));
    }
}

Reservation UploadBudget::hold(std::size_t bytes) {
    m_held += bytes;
    const auto giveBack = [weak = weak_from_this(), bytes](void*) {
        const std::shared_ptr<UploadBudget> budget = weak.lock();
        if (!budget)
            return;
        asio::post(*budget->m_context, [weak, bytes] {
            if (const std::shared_ptr<UploadBudget> there = weak.lock()) {
                there->m_held -= bytes;
                there->serveWaiting();
            }
        });
    };
    return {nullptr, giveBack};
}

} // namespace kopertal
