#include "app/scanning/ServerStart.h"

#include "app/common/WaitingThreads.h"

#include <QDeadlineTimer>
#include <QtConcurrent>

#include <chrono>
#include <exception>
#include <utility>

namespace kopertal {
namespace {

constexpr std::chrono::milliseconds patience{1000};

QString noPort(std::optional<std::uint16_t> fixedPort) {
    return fixedPort ? QStringLiteral("port %1 jest zajęty przez inny program").arg(*fixedPort)
                     : QStringLiteral("system nie przydzielił wolnego portu");
}

void start(QPromise<StartedServer>& promise, std::optional<std::uint16_t> fixedPort,
           ScanServer::PhotoCallback onPhoto) {
    const auto server = std::make_shared<ScanServer>();
    server->onPhotoReceived(std::move(onPhoto));
    try {
        const QDeadlineTimer deadline(patience);
        do
            server->start(fixedPort);
        while (server->port() == 0 && !deadline.hasExpired() && !promise.isCanceled());
    } catch (const std::exception& error) {
        promise.addResult(StartedServer{nullptr, QString::fromLocal8Bit(error.what()), false});
        return;
    }
    promise.addResult(server->port() == 0
                          ? StartedServer{nullptr, noPort(fixedPort), fixedPort.has_value()}
                          : StartedServer{server, {}, false});
}

} // namespace

QFuture<StartedServer> startScanServer(std::optional<std::uint16_t> fixedPort,
                                       ScanServer::PhotoCallback onPhoto) {
    return QtConcurrent::run(&waitingThreads(), &start, fixedPort, std::move(onPhoto));
}

} // namespace kopertal
