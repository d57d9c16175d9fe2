#pragma once

#include "tracking/TrackingResult.h"

#include <mutex>

namespace kopertal {

/// Bounds what the results of requests under way at the same time take together: a service that
/// went mad could fill the memory with histories, for thousands of results are kept. Any thread.
class ResultBudget {
public:
    /// Real histories have some dozens of events of 150 characters, so that this is room for ten
    /// thousand shipments.
    static constexpr qsizetype defaultBytes = qsizetype(128) << 20;

    explicit ResultBudget(qsizetype bytes = defaultBytes) : m_bytes(bytes) {}

    /// A request begins.
    void started();

    /// Its result: whole, or shortened() when those before it have used the room up.
    TrackingResult finished(const TrackingResult& result);

private:
    const qsizetype m_bytes;
    std::mutex m_mutex;
    qsizetype m_used = 0;
    int m_underWay = 0;
};

/// The result with no more than its latest 200 events, the one that tells the status among them,
/// and with the beginnings of its texts: a quarter of a megabyte at most.
TrackingResult shortened(TrackingResult result);

} // namespace kopertal
