// Compiled into programs under the sanitizers. Once the leak checker itself crashed at a process's
// end ("Tracer caught signal 11"), after all tests had passed: probably at a thread that the
// toolkit's pool takes for ended while the system still takes it down. So the end of the process
// leaves such threads a moment; what leaks is found after it.
#include <chrono>
#include <cstdlib>
#include <thread>

namespace {

constexpr std::chrono::milliseconds moment{100};

[[maybe_unused]] const int registered = std::atexit([] { std::this_thread::sleep_for(moment); });

} // namespace
