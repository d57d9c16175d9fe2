#include "net/ReceivedBody.h"

#include <algorithm>
#include <new>

namespace kopertal {

bool ReceivedBody::append(const char* data, std::size_t size) noexcept {
    if (size > m_limit - m_text.size())
        return false;
    const std::size_t needed = m_text.size() + size;
    if (needed > m_taken) { // what is reserved counts, not what is filled
        const std::size_t reserved = std::clamp(2 * m_taken, needed, m_limit);
        if (!m_budget->take(reserved - m_taken))
            return false;
        m_taken = reserved;
    }
    try {
        m_text.reserve(m_taken);
        m_text.append(data, size);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

void ReceivedBody::clear() noexcept {
    std::string().swap(m_text);
    m_budget->giveBack(std::exchange(m_taken, 0));
}

} // namespace kopertal
