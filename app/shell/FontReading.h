#pragma once

#include <thread>

namespace kopertal {

/// Has the fonts that the system offers read on a thread of its own while the program starts: a
/// text waits for them, and little else on the way to the first window does.
class FontReading {
public:
    /// Begins with the system's configuration, which needs no application.
    FontReading();

    /// Goes on with the toolkit's list of fonts. To be called once there is an application, which
    /// must live longer than the thread: it joins when it is destroyed.
    [[nodiscard]] std::jthread applicationExists();

private:
    std::jthread m_thread;
};

} // namespace kopertal
