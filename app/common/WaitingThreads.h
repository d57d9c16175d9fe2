#pragma once

class QThreadPool;

namespace kopertal {

/// Threads for what waits rather than works: name look-ups, servers that settle. Not for the global
/// pool: the toolkit paints with the help of its few threads, and the window would stand still
/// until one is free. They are done when the program quits. For the main thread to ask for.
QThreadPool& waitingThreads();

} // namespace kopertal
