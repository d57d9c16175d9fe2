#pragma once

#include <stop_token>
#include <thread>

namespace kopertal {

/// While it lives, SIGINT, SIGTERM and SIGHUP request a stop instead of ending the process, so that
/// work in progress can clean up; a second one ends it at once. To be made before the process has
/// other threads: they inherit the mask.
class StopOnSignal {
public:
    StopOnSignal();
    ~StopOnSignal();
    StopOnSignal(const StopOnSignal&) = delete;
    StopOnSignal& operator=(const StopOnSignal&) = delete;

    std::stop_token token() const { return m_source.get_token(); }

private:
    std::stop_source m_source;
    std::thread m_waiter;
};

} // namespace kopertal
