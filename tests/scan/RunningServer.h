#pragma once

#include "scan/PhoneProtocol.h"
#include "scan/ScanServer.h"
#include "tests/support/RawClient.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>

#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace kopertal::test {

inline const std::string accepted = answerBytes(Answer::accepted, {});
inline const std::string tooLarge = answerBytes(Answer::tooLarge, {});
inline const std::string probe = answerBytes(Answer::probe, {});

inline std::string uploadHead(std::size_t length) {
    return "POST /upload HTTP/1.1\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
}

inline std::string upload(const std::string& body) {
    return uploadHead(body.size()) + body;
}

/// Long enough for the server to have read what was sent so far.
inline void letItRead() {
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
}

/// A server with what it has handed over.
struct RunningServer {
    explicit RunningServer(const ServerLimits& limits = {}, bool holdsPhotos = false)
        : server(std::make_unique<ScanServer>(limits)) {
        server->onPhotoReceived([this, holdsPhotos](const ReceivedPhoto& photo) {
            isOnMainThread = isOnMainThread &&
                             QThread::currentThread() == QCoreApplication::instance()->thread();
            photos.emplace_back(photo.photo());
            if (holdsPhotos)
                held.push_back(photo);
        });
        server->start();
        port = server->port();
    }

    bool waitForPhotos(std::size_t count) {
        return QTest::qWaitFor([&] { return photos.size() >= count; }, 20'000);
    }

    /// The whole answer, while photos are taken: they hold room until then.
    static std::string answerTo(RawClient& client) {
        auto answer = std::async(std::launch::async, [&] { return client.readAll(); });
        while (answer.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
            QTest::qWait(5);
        return answer.get().value_or("still open");
    }

    std::vector<std::string> photos;
    std::vector<ReceivedPhoto> held; ///< so that they go on counting against the limit
    bool isOnMainThread = true;
    std::uint16_t port = 0;
    std::unique_ptr<ScanServer> server;
};

} // namespace kopertal::test
