#pragma once

#include "scan/ReceivedPhoto.h"
#include "scan/ServerLimits.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>

namespace kopertal {

class ConnectionLoop;

/// Why a server did not start: a domain and a code for the program, what() for the user.
class ScanServerError : public std::runtime_error {
public:
    explicit ScanServerError(std::uint16_t refusedPort);
    static constexpr const char* domain = "ScanServer";
    static constexpr int code = 1;
};

/// The server on the local network that a phone's browser opens: serves the phone's pages and takes
/// one photo per upload. Works on a thread of its own; start(), stop() and the destructor may be
/// called on any thread, one at a time. To be dropped before the application object.
class ScanServer {
public:
    using PhotoCallback = std::function<void(const ReceivedPhoto&)>;

    explicit ScanServer(const ServerLimits& limits = {});
    /// Closes all connections: an upload in progress gets no answer, and no more photos are handed
    /// over.
    ~ScanServer();
    ScanServer(const ScanServer&) = delete;
    ScanServer& operator=(const ScanServer&) = delete;

    /// To be set before start(). Called on the application's main thread, once per upload.
    void onPhotoReceived(PhotoCallback callback);

    /// Listens on `fixedPort`, or on a free port that the system chooses, of all addresses. Takes
    /// 0.15 s. Throws ScanServerError for port 0, std::system_error when the system gives no
    /// thread or socket. A port that cannot be had is not an error: port() stays what it was.
    void start(std::optional<std::uint16_t> fixedPort = {});

    /// Ends listening: the port is free when this returns. Accepted connections go on to their end.
    void stop();

    /// The bound port; 0 before the first successful start, and never again after it.
    std::uint16_t port() const { return m_port; }

    /// Whether anyone has connected yet.
    bool wasVisited() const;

private:
    struct Receiver;

    ServerLimits m_limits;
    std::atomic<std::uint16_t> m_port = 0;
    std::shared_ptr<Receiver> m_receiver;
    std::unique_ptr<ConnectionLoop> m_loop; // the last to come, the first to go
};

} // namespace kopertal
