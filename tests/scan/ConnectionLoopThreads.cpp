// The server's connections under load from many threads, in a program without Qt, so that
// ThreadSanitizer sees every access. Exits with 0 when every accepted upload arrived whole.

#include "scan/ConnectionLoop.h"
#include "tests/support/RawClient.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace kopertal;

namespace {

constexpr int clientThreads = 6;
constexpr int requestsEach = 150;

/// What the main thread is in the program: takes photos later, and lets them go on another thread.
class Inbox {
public:
    void add(ReceivedPhoto photo) {
        const std::lock_guard lock(m_mutex);
        m_photos.push_back(std::move(photo));
    }
    std::vector<ReceivedPhoto> takeAll() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_photos, {});
    }

private:
    std::mutex m_mutex;
    std::vector<ReceivedPhoto> m_photos;
};

std::string upload(std::size_t declared, std::size_t sent) {
    return "POST /upload HTTP/1.1\r\nContent-Length: " + std::to_string(declared) + "\r\n\r\n" +
           std::string(sent, 'x');
}

/// Requests of all kinds; returns how many uploads were accepted.
int makeRequests(std::uint16_t port, int seed) {
    int accepted = 0;
    for (int i = 0; i < requestsEach; ++i) {
        RawClient client(port);
        if (!client.isOpen())
            continue;
        switch ((i + seed) % 6) {
        case 0:
            client.send("GET / HTTP/1.1\r\n\r\n");
            client.readAll();
            break;
        case 1:
            client.send(upload(100'000, 100));
            client.reset();
            break;
        case 2:
            client.send("GET /pi");
            break;
        case 3:
            client.send(upload(60'000'000, 1000));
            client.readAll();
            break;
        default:
            const std::size_t size = 1000 + 30'000 * static_cast<std::size_t>(i % 4);
            client.send(upload(size, size));
            accepted += client.readAll().value_or("").starts_with("HTTP/1.1 200") ? 1 : 0;
        }
    }
    return accepted;
}

bool deliversEverything() {
    Inbox inbox;
    ServerLimits limits;
    limits.heldBytes = 200'000; // so that uploads wait for room
    limits.connections = 16;
    ConnectionLoop loop({"scan", "pair", "{}", "sw"}, limits,
                        [&](ReceivedPhoto photo) { inbox.add(std::move(photo)); });
    const std::uint16_t port = loop.listen(0).value_or(0);

    std::atomic<bool> isOver = false;
    std::size_t received = 0;
    std::thread reader([&] {
        while (!isOver) {
            for (const ReceivedPhoto& photo : inbox.takeAll())
                received += std::ranges::count(photo.whole(), 'x') > 999 ? 1 : 0;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    std::atomic<std::size_t> accepted = 0;
    std::vector<std::thread> clients;
    for (int seed = 0; seed < clientThreads; ++seed)
        clients.emplace_back(
            [&, seed] { accepted += static_cast<std::size_t>(makeRequests(port, seed)); });
    for (std::thread& client : clients)
        client.join();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    isOver = true;
    reader.join();
    std::printf("%zu uploads accepted, %zu received\n", accepted.load(), received);
    return accepted > clientThreads * requestsEach / 6 && received == accepted;
}

/// Servers that listen anew, stop and go while clients are at work, photos outliving them.
void comeAndGoUnderLoad() {
    Inbox inbox;
    for (int round = 0; round < 10; ++round) {
        ConnectionLoop loop({}, {}, [&](ReceivedPhoto photo) { inbox.add(std::move(photo)); });
        std::vector<std::thread> clients;
        for (int i = 0; i < 3; ++i)
            clients.emplace_back([port = loop.listen(0).value_or(0)] {
                for (int k = 0; k < 20; ++k)
                    RawClient(port).send(upload(2000, 2000));
            });
        std::this_thread::sleep_for(std::chrono::milliseconds(5 * round));
        loop.stopListening();
        if (round % 2 == 0)
            for (std::thread& client : clients)
                client.join();
        else
            for (std::thread& client : clients)
                client.detach();
    }
    inbox.takeAll();
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
