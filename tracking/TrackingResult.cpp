#include "tracking/TrackingResult.h"

#include <algorithm>

namespace kopertal {

const TrackingEvent* statusEvent(const QList<TrackingEvent>& events) {
    if (events.isEmpty())
        return nullptr;
    const auto final = std::find_if(events.begin(), events.end(),
                                    [](const TrackingEvent& event) { return event.isFinal; });
    return final == events.end() ? &events.last() : &*final;
}

} // namespace kopertal
