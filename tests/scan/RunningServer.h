#pragma once

#include "scan/PhoneProtocol.h"
#include "scan/ScanServer.h"
#include "tests/support/RawClient.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>

#include <future>
#include <memory>
#include <vector>

namespace kopertal::test {

inline const std::string accepted = answerBytes(Answer::accepted, {});
inline const std::string tooLarge = answerBytes(Answer::tooLarge, {});
inline const std::string probe = answerBytes(Answer::probe, {});
inline const std::string ping = "GET /ping\r\n\r\n";

inline std::string upload(const std::string& body) {
    return uploadHead(body.size()) + body;
}

/// What `work` gives on another thread, while photos are taken on this one: they hold room until
/// then.
auto whileServing(const auto& work) {
    auto result = std::async(std::launch::async, work);
    while (result.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        QTest::qWait(5);
    return result.get();
}

/// The whole answer, while photos are taken.
inline std::string answerTo(RawClient& client) {
    return whileServing([&] { return client.readAll(); }).value_or("still open");
}

/// A server with what it has handed over.
struct RunningServer {
    explicit RunningServer(const ServerLimits& limits = {}, bool holdsPhotos = false)
        : server(std::make_unique<ScanServer>(limits)) {
        server->onPhotoReceived([this, holdsPhotos](const ReceivedPhoto& photo) {
            if (QThread::currentThread() != QCoreApplication::instance()->thread())
                qFatal("A photo came on another thread");
            photos.emplace_back(photo.photo());
            if (holdsPhotos)
                held.push_back(photo);
        });
        server->start();
        port = server->port();
    }

    /// A connection whose first bytes the server has had the time to read.
    RawClient begin(const std::string& bytes) const {
        RawClient client(port);
        client.send(bytes);
        QTest::qSleep(60);
        return client;
    }

    bool waitForPhotos(std::size_t count) const {
        return QTest::qWaitFor([&] { return photos.size() >= count; }, 20'000);
    }

    std::vector<std::string> photos;
    std::vector<ReceivedPhoto> held; ///< so that they go on counting against the limit
    std::uint16_t port = 0;
    std::unique_ptr<ScanServer> server;
};

} // namespace kopertal::test
