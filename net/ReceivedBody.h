#pragma once

#include "net/ByteBudget.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace kopertal {

/// An answer's text, whose memory counts against a budget as long as it is held: also while it
/// waits, received, for somebody to read it. Its first 64 KiB do not count, so that what large
/// answers take leaves room for ordinary ones.
class ReceivedBody {
public:
    static constexpr std::size_t uncounted = 64UL * 1024;

    ReceivedBody(std::shared_ptr<ByteBudget> budget, std::size_t limit)
        : m_budget(std::move(budget)), m_limit(limit) {}
    ~ReceivedBody() { clear(); }
    ReceivedBody(const ReceivedBody&) = delete;
    ReceivedBody& operator=(const ReceivedBody&) = delete;

    const std::string& text() const { return m_text; }

    /// False when the text would become longer than the limit, or there is no memory for it.
    bool append(const char* data, std::size_t size) noexcept;
    void clear() noexcept;

private:
    bool reserve(std::size_t bytes) noexcept;

    std::shared_ptr<ByteBudget> m_budget;
    std::size_t m_limit;
    std::size_t m_reserved = 0;
    std::string m_text;
};

} // namespace kopertal
