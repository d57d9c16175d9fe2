#pragma once

#include "net/ByteBudget.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace kopertal {

/// An answer's text, whose memory counts against a budget as long as it is held: also while it
/// waits, received, for somebody to read it.
class ReceivedBody {
public:
    ReceivedBody(std::shared_ptr<ByteBudget> budget, std::size_t limit)
        : m_budget(std::move(budget)), m_limit(limit) {}
    ~ReceivedBody() { m_budget->giveBack(m_taken); }
    ReceivedBody(const ReceivedBody&) = delete;
    ReceivedBody& operator=(const ReceivedBody&) = delete;

    const std::string& text() const { return m_text; }

    /// False when the text would become longer than the limit, or there is no memory for it.
    bool append(const char* data, std::size_t size) noexcept;
    void clear() noexcept;

private:
    std::shared_ptr<ByteBudget> m_budget;
    std::size_t m_limit;
    std::size_t m_taken = 0;
    std::string m_text;
};

} // namespace kopertal
