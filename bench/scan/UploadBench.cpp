// 50 MiB to the phone's server over loopback, beside a bare TCP copy of the same bytes, in turns.
// The mark: at least half of what the copy reaches.

#include "bench/Result.h"
#include "scan/ScanServer.h"
#include "tests/support/RawClient.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t bodyBytes = 52'428'800;
constexpr int rounds = 15;
constexpr int uploadsAtOnce = 64;

/// Accepts connections, reads each into one small buffer to its end and answers with one byte.
class BareReceiver {
public:
    BareReceiver() {
        m_listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            listen(m_listener, 8) != 0 ||
            getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            std::perror("bare receiver");
        port = ntohs(address.sin_port);
        m_thread = std::thread([this] { run(); });
    }
    ~BareReceiver() {
        shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        close(m_listener);
    }
    std::uint16_t port = 0;

private:
    void run() const {
        std::vector<char> buffer(65'536);
        for (;;) {
            const int connection = accept(m_listener, nullptr, nullptr);
            if (connection < 0)
                return;
            while (recv(connection, buffer.data(), buffer.size(), 0) > 0) {
            }
            if (write(connection, "k", 1) != 1)
                std::perror("bare receiver");
            close(connection);
        }
    }
    int m_listener;
    std::thread m_thread;
};

double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

std::string uploadHead() {
    return "POST /upload HTTP/1.1\r\nContent-Length: " + std::to_string(bodyBytes) + "\r\n\r\n";
}

void measure(std::uint16_t port, const std::string& body, const int& received) {
    const BareReceiver bare;
    std::vector<double> uploads;
    std::vector<double> copies;
    for (int round = 0; round < rounds; ++round) {
        copies.push_back(secondsOf([&] {
            RawClient client(bare.port);
            client.send(body);
            client.finish();
            client.readAll();
        }));
        uploads.push_back(secondsOf([&] {
            RawClient client(port);
            client.send(uploadHead());
            client.send(body);
            client.readAll();
        }));
    }
    const double mebibytes = static_cast<double>(bodyBytes) / 1048576;
    kopertal::bench::Result upload{.promise = "an upload of 50 MiB over loopback",
                                   .figure = mebibytes / median(uploads),
                                   .unit = "MiB/s",
                                   .reference = "bare TCP copy",
                                   .referenceFigure = mebibytes / median(copies),
                                   .ratio = median(copies) / median(uploads),
                                   .relation = ">=",
                                   .mark = 0.5};
    kopertal::bench::record(upload);
    std::printf("bare TCP copy of 50 MiB   %7.0f MiB/s (median of %d)\n", upload.referenceFigure,
                rounds);
    std::printf("upload of 50 MiB          %7.0f MiB/s, %.2f of the copy (mark: %.2f)\n",
                upload.figure, upload.ratio, upload.mark);

    const double seconds = secondsOf([&] {
        std::vector<std::thread> senders;
        senders.reserve(uploadsAtOnce);
        for (int i = 0; i < uploadsAtOnce; ++i)
            senders.emplace_back([&] {
                RawClient client(port);
                client.send(uploadHead());
                client.send(body);
                client.readAll(std::chrono::seconds(60));
            });
        for (std::thread& sender : senders)
            sender.join();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    std::printf("%d uploads of 50 MiB at once: %d delivered in %.1f s, %.0f MiB/s\n", uploadsAtOnce,
                received - rounds, seconds, mebibytes * uploadsAtOnce / seconds);
    kopertal::bench::record({.promise = "delivered of 64 uploads of 50 MiB at once",
                             .figure = double(received - rounds),
                             .relation = ">=",
                             .mark = uploadsAtOnce});
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const std::string body(bodyBytes, 'x');
    int received = 0;
    kopertal::ScanServer server;
    server.onPhotoReceived([&](const kopertal::ReceivedPhoto&) { ++received; });
    server.start();
    std::thread client([&] {
        measure(server.port(), body, received);
        QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                  Qt::QueuedConnection);
    });
    QCoreApplication::exec();
    client.join();
    return 0;
}
