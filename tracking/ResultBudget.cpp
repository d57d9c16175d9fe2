#include "tracking/ResultBudget.h"

#include <utility>

namespace kopertal {
namespace {

constexpr qsizetype maxEvents = 200;
constexpr qsizetype maxTextLength = 100;

/// Calls `handler` with every text of the result or event.
template <typename Event, typename Handler>
void eachTextOf(Event& event, Handler handler) {
    for (auto* text : {&event.time, &event.name, &event.place, &event.placeAddress, &event.code})
        handler(*text);
}

template <typename Result, typename Handler>
void eachText(Result& result, Handler handler) {
    for (auto* text :
         {&result.status, &result.lastEvent, &result.rodzajPrzesylki, &result.masa,
          &result.dataNadania, &result.urzadNadania, &result.urzadPrzeznaczenia, &result.lastPlace})
        handler(*text);
    for (auto& event : result.events)
        eachTextOf(event, handler);
}

qsizetype bytesOf(const TrackingResult& result) {
    constexpr qsizetype perText = 32; // its header and the allocator's
    qsizetype bytes = result.events.size() * qsizetype(sizeof(TrackingEvent));
    eachText(result, [&](const QString& text) { bytes += perText + 2 * text.size(); });
    return bytes;
}

/// A copy, for a cut text keeps its memory.
QString beginning(const QString& text) {
    if (text.size() <= maxTextLength)
        return text;
    return text.left(text[maxTextLength].isLowSurrogate() ? maxTextLength - 1 : maxTextLength);
}

} // namespace

void ResultBudget::started() {
    const std::lock_guard lock(m_mutex);
    ++m_underWay;
}

TrackingResult ResultBudget::finished(const TrackingResult& result) {
    const qsizetype bytes = bytesOf(result);
    bool isWhole = false;
    {
        const std::lock_guard lock(m_mutex);
        isWhole = m_used + bytes <= m_bytes;
        if (isWhole)
            m_used += bytes;
        if (--m_underWay == 0)
            m_used = 0;
    }
    return isWhole ? result : shortened(result);
}

TrackingResult shortened(TrackingResult result) {
    const qsizetype excess = result.events.size() - maxEvents;
    if (excess > 0) {
        const TrackingEvent decisive = *statusEvent(result.events);
        const bool isLost = statusEvent(result.events) < &std::as_const(result.events)[excess];
        result.events = result.events.sliced(excess);
        if (isLost)
            result.events.first() = decisive;
    }
    eachText(result, [](QString& text) { text = beginning(text); });
    return result;
}

} // namespace kopertal
