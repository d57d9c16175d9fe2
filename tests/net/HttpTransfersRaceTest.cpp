// Requests from several threads at once, destruction in their middle. Without Qt, because
// ThreadSanitizer would report a library that was built without it.
#include "net/HttpTransfers.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <latch>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace kopertal;

/// The library tells of some sockets after it has closed them. That a set of one thread is asked to
/// forget a number that has become another thread's is harmless, and the only thing this hides.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" [[gnu::visibility("default")]] const char* __tsan_default_suppressions() {
    return "race:kopertal::CurlLoop::onSocket";
}

namespace {

constexpr int threads = 4;
constexpr int requestsPerThread = 60;

void check(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "FAIL: %s\n", what);
        std::exit(1);
    }
}

std::string valueOf(const std::string& json, const std::string& key) {
    const std::string start = "\"" + key + "\": \"";
    const size_t begin = json.find(start) + start.size();
    return json.substr(begin, json.find('"', begin) - begin);
}

/// The transfers end when all requests are answered, or in their middle.
void askFromManyThreads(const HttpOptions& options, const std::string& url, bool waits) {
    HttpRequest request;
    request.url = url;
    request.body = "no number";
    const std::thread::id destroyer = std::this_thread::get_id();
    std::latch left(std::ptrdiff_t{threads} * requestsPerThread);
    std::atomic<int> completed = 0;
    std::atomic<int> failed = 0;
    {
        HttpTransfers transfers(options);
        const auto completion = [&](const HttpAnswer& answer) {
            check(std::this_thread::get_id() != destroyer, "completes on the worker thread");
            ++completed;
            if (answer.failure != HttpFailure::none && failed++ == 0) // one more at the end
                transfers.send(request, [&](const HttpAnswer&) { ++completed; });
            left.count_down();
        };
        {
            std::vector<std::jthread> askers;
            askers.reserve(threads);
            for (int i = 0; i < threads; ++i)
                askers.emplace_back([&] {
                    for (int k = 0; k < requestsPerThread; ++k)
                        transfers.send(request, completion);
                });
        }
        if (waits)
            left.wait();
    }
    check(completed == threads * requestsPerThread + (failed > 0 ? 1 : 0), "each completes once");
    check(!waits || failed == 0, "every request is answered");
}

} // namespace

int main() {
    // The stand-in ends when its standard input does, and that with this process.
    int input[2];
    check(pipe2(input, O_CLOEXEC) == 0 && fcntl(input[0], F_SETFD, 0) == 0, "a pipe");
    const std::string command =
        KOPERTAL_SOURCE_DIR "/tests/support/tracking_service.py <&" + std::to_string(input[0]);
    FILE* const standIn = popen(command.c_str(), "r");
    char line[4096] = "";
    check(standIn && std::fgets(line, sizeof line, standIn), "the stand-in starts");
    HttpOptions options;
    options.authorityFile = valueOf(line, "authority");
    for (const char* listener : {"http", "https", "http2"}) {
        for (int round = 0; round <= 10; ++round)
            askFromManyThreads(options, valueOf(line, listener) + "open", round == 0);
    }
    std::puts("PASS");
    std::fflush(stdout);
    return 0;
}
