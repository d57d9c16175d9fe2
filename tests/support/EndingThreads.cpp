// Compiled into programs under the sanitizers. The toolkit's pool takes its threads for ended while
// the system still takes them down. A leak checker that looks at such a thread crashes ("Tracer
// caught signal 11"), so the end of the process leaves them a moment; what leaks is found after it.
#include <chrono>
#include <cstdlib>
#include <thread>

namespace {

constexpr std::chrono::milliseconds moment{100};

[[maybe_unused]] const int registered = std::atexit([] { std::this_thread::sleep_for(moment); });

} // namespace
