#include "net/ReceivedBody.h"

#include <algorithm>
#include <new>

namespace kopertal {
namespace {

std::size_t counted(std::size_t bytes) {
    return bytes - std::min(bytes, ReceivedBody::uncounted);
}

} // namespace

bool ReceivedBody::append(const char* data, std::size_t size) noexcept {
    if (size > m_limit - m_text.size())
        return false;
    const std::size_t needed = m_text.size() + size;
    if (needed > m_reserved) {
        const std::size_t most = needed <= uncounted ? std::min(uncounted, m_limit) : m_limit;
        if (!reserve(std::clamp(2 * m_reserved, needed, most)))
            return false;
    }
    m_text.append(data, size);
    return true;
}

/// What is reserved counts, not what is filled.
bool ReceivedBody::reserve(std::size_t bytes) noexcept {
    const std::size_t more = counted(bytes) - counted(m_reserved);
    if (!m_budget->take(more))
        return false;
    try {
        std::string larger; // a text that has memory doubles it at least
        larger.reserve(bytes);
        larger.append(m_text);
        m_text.swap(larger);
    } catch (const std::bad_alloc&) {
        m_budget->giveBack(more);
        return false;
    }
    m_reserved = bytes;
    return true;
}

void ReceivedBody::clear() noexcept {
    std::string().swap(m_text);
    m_budget->giveBack(counted(std::exchange(m_reserved, 0)));
}

} // namespace kopertal
