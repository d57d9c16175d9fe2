#pragma once

#include <thread>

namespace kopertal {

/// These have the fonts that the system offers read on a thread of its own while the program
/// starts: a text waits for them, and little else on the way to the first window does. Without a
/// thread to be had, the first text reads them itself.

/// The system's configuration. It needs no application.
std::jthread readFontConfiguration();

/// The toolkit's list of fonts, behind the main thread where cores are few. The application must
/// live until the thread has ended.
std::jthread readFontList();

} // namespace kopertal
