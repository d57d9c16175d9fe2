#pragma once

#include <atomic>
#include <cstddef>

namespace kopertal {

/// A bound on the bytes that many hold together. Any thread.
class ByteBudget {
public:
    explicit ByteBudget(std::size_t limit) : m_left(limit) {}

    /// False, with nothing taken, when so much is not left.
    bool take(std::size_t bytes) noexcept {
        std::size_t left = m_left.load();
        while (left >= bytes) {
            if (m_left.compare_exchange_weak(left, left - bytes))
                return true;
        }
        return false;
    }
    void giveBack(std::size_t bytes) noexcept { m_left += bytes; }

private:
    std::atomic<std::size_t> m_left;
};

} // namespace kopertal
