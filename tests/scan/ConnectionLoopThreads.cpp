// The server's connections under load from many threads, in a program without Qt, so that
// ThreadSanitizer sees every access. Exits with 0 when every accepted upload arrived whole and a
// port was free as soon as it was given up.

#include "scan/ConnectionLoop.h"
#include "tests/scan/RandomRequest.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

using namespace kopertal;
using namespace kopertal::test;
using namespace std::chrono_literals;

int main() {
    ServerLimits limits;
    limits.heldBytes = 200'000; // so that uploads wait for room
    limits.connections = 16;
    for (unsigned round = 0; round < 12; ++round) {
        std::mutex mutex;
        std::vector<ReceivedPhoto> inbox;
        int received = 0;
        // What the main thread is in the program: takes photos later, and lets them go.
        const auto takePhotos = [&] {
            std::this_thread::sleep_for(1ms);
            std::vector<ReceivedPhoto> photos;
            {
                const std::lock_guard lock(mutex);
                photos.swap(inbox);
            }
            for (const ReceivedPhoto& photo : photos)
                received += photo.whole().find_first_not_of('x') == std::string_view::npos ? 1 : 0;
        };
        std::atomic<int> accepted = 0;
        std::atomic<int> working = 6;
        std::vector<std::jthread> clients; // outlive the server in every other round
        ConnectionLoop loop({"scan", "pair", "{}", "sw"}, limits, [&](ReceivedPhoto photo) {
            const std::lock_guard lock(mutex);
            inbox.push_back(std::move(photo));
        });
        const std::uint16_t port = loop.listen(0).value_or(0);
        for (unsigned client = 0; client < 6; ++client)
            clients.emplace_back([&, random = std::mt19937(6 * round + client)]() mutable {
                for (int i = 0; i < 50; ++i)
                    accepted += makeRandomRequest(port, random) ? 1 : 0;
                --working;
            });
        if (round % 2 == 0) {
            while (working > 0)
                takePhotos();
            std::this_thread::sleep_for(100ms);
            takePhotos();
            std::printf("%d uploads accepted, %d received\n", accepted.load(), received);
            if (accepted < 50 || received != accepted)
                return 1;
        } else {
            for (unsigned i = 0; i < 5 * round; ++i)
                takePhotos();
            loop.stopListening();
            if (!loop.listen(port))
                return 1;
        }
    }
    return 0;
}
