#pragma once

#include "scan/PhoneConnection.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <thread>

namespace kopertal {

/// The server without Qt: one thread with its listener and connections. Its functions may be called
/// from any thread. When it goes, every connection is closed and its thread has ended.
class ConnectionLoop {
public:
    using Deliver = std::function<void(ReceivedPhoto)>; ///< called on the loop's thread

    /// Throws std::system_error when the system gives no thread or event queue.
    ConnectionLoop(PhoneDocuments documents, const ServerLimits& limits, Deliver deliver);
    ~ConnectionLoop();
    ConnectionLoop(const ConnectionLoop&) = delete;
    ConnectionLoop& operator=(const ConnectionLoop&) = delete;

    /// Listens on `port` (0: any free one) of all addresses, IPv6 and IPv4, or of IPv4 where IPv6
    /// is switched off; a previous listener is closed. Returns the bound port, nothing when the
    /// port cannot be had. Throws std::system_error when no socket can be made.
    std::optional<std::uint16_t> listen(std::uint16_t port);

    /// Closes the listener: its port is free when this returns. Accepted connections go on.
    void stopListening();

    /// Whether a connection was ever accepted.
    bool wasVisited() const { return m_wasVisited; }

private:
    using Connections = std::list<std::shared_ptr<PhoneConnection>>;

    void run();
    void replaceListener(std::shared_ptr<asio::ip::tcp::acceptor> listener);
    void accept();
    void acceptPending();
    void acceptAfterPause();
    void admitNext();
    bool makeWay();
    void closed(PhoneConnection& connection);

    std::shared_ptr<asio::io_context> m_context;
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    ConnectionShared m_shared;
    std::shared_ptr<asio::ip::tcp::acceptor> m_listener;
    asio::steady_timer m_pause;
    Connections m_connections;
    std::optional<asio::ip::tcp::socket> m_next; // accepted while there was no room
    bool m_isAccepting = false;
    std::atomic<bool> m_wasVisited = false;
    std::thread m_thread;
};

} // namespace kopertal
