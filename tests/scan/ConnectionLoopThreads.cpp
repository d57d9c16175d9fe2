// The server's connections under load from many threads, in a program without Qt, so that
// ThreadSanitizer sees every access. Exits with 0 when every accepted upload arrived whole.

#include "scan/ConnectionLoop.h"
#include "tests/scan/RandomRequest.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

using namespace kopertal;
using namespace kopertal::test;
using namespace std::chrono_literals;

namespace {

bool deliversEverything() {
    ServerLimits limits;
    limits.heldBytes = 200'000; // so that uploads wait for room
    limits.connections = 16;
    std::mutex mutex;
    std::vector<ReceivedPhoto> inbox;
    ConnectionLoop loop({"scan", "pair", "{}", "sw"}, limits, [&](ReceivedPhoto photo) {
        const std::lock_guard lock(mutex);
        inbox.push_back(std::move(photo));
    });
    const std::uint16_t port = loop.listen(0).value_or(0);
    int received = 0;
    // What the main thread is in the program: takes photos later, and lets them go.
    std::jthread reader([&](const std::stop_token& end) {
        while (!end.stop_requested()) {
            std::vector<ReceivedPhoto> photos;
            {
                const std::lock_guard lock(mutex);
                photos.swap(inbox);
            }
            for (const ReceivedPhoto& photo : photos)
                received += photo.whole().find_first_not_of('x') == std::string_view::npos ? 1 : 0;
            std::this_thread::sleep_for(1ms);
        }
    });
    std::atomic<int> accepted = 0;
    std::vector<std::jthread> clients;
    for (unsigned seed = 0; seed < 6; ++seed)
        clients.emplace_back([&, random = std::mt19937(seed)]() mutable {
            for (int i = 0; i < 150; ++i)
                accepted += makeRandomRequest(port, random) ? 1 : 0;
        });
    clients.clear(); // waits for them
    std::this_thread::sleep_for(100ms);
    reader.request_stop();
    reader.join();
    std::printf("%d uploads accepted, %d received\n", accepted.load(), received);
    return accepted > 150 && received == accepted;
}

/// Servers that listen anew, stop and go while clients are at work, photos outliving them.
void comeAndGoUnderLoad() {
    std::vector<ReceivedPhoto> photos;
    for (int round = 0; round < 10; ++round) {
        std::vector<std::jthread> clients; // outlive the server in every other round
        clients.reserve(3);
        ConnectionLoop loop({}, {}, [&](const ReceivedPhoto& photo) { photos.push_back(photo); });
        for (int i = 0; i < 3; ++i)
            clients.emplace_back([port = loop.listen(0).value_or(0)] {
                std::mt19937 random(port);
                for (int k = 0; k < 20; ++k)
                    makeRandomRequest(port, random);
            });
        std::this_thread::sleep_for(5ms * round);
        loop.stopListening();
        if (round % 2 == 0)
            clients.clear();
    }
}

/// Two servers hand one port to each other.
bool freesItsPortAtOnce() {
    ConnectionLoop loops[] = {{{}, {}, {}}, {{}, {}, {}}};
    const std::uint16_t port = loops[0].listen(0).value_or(0);
    for (int i = 0; i < 300; ++i) {
        loops[i % 2].stopListening();
        if (!loops[(i + 1) % 2].listen(port))
            return false;
    }
    return true;
}

} // namespace

int main() {
    comeAndGoUnderLoad();
    return freesItsPortAtOnce() && deliversEverything() ? 0 : 1;
}
