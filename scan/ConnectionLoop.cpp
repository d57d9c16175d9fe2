#include "scan/ConnectionLoop.h"

#include <asio/error.hpp>
#include <asio/ip/v6_only.hpp>
#include <asio/post.hpp>

#include <algorithm>
#include <exception>
#include <fcntl.h>
#include <utility>

namespace kopertal {

using asio::ip::tcp;

namespace {

/// Between attempts to accept while the process has no descriptor to spare.
constexpr std::chrono::milliseconds acceptPause{100};

asio::error_code bindAndListen(tcp::acceptor& listener, const tcp::endpoint& endpoint) {
    asio::error_code error;
    listener.set_option(tcp::acceptor::reuse_address(true), error);
    if (endpoint.protocol() == tcp::v6())
        listener.set_option(asio::ip::v6_only(false), error);
    if (!error)
        listener.bind(endpoint, error);
    if (!error)
        listener.listen(tcp::acceptor::max_listen_connections, error);
    return error;
}

/// Programs that this one starts get no hold on the port or on a phone's connection.
template <typename Socket>
void keepFromChildren(Socket& socket) {
    fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
}

/// A listener on `port` of all addresses; closed when the port cannot be had.
tcp::acceptor openListener(asio::io_context& context, std::uint16_t port) {
    tcp::acceptor listener(context);
    asio::error_code error;
    listener.open(tcp::v6(), error);
    if (!error) {
        error = bindAndListen(listener, {tcp::v6(), port});
        if (!error)
            return listener;
        listener.close();
        if (error == asio::error::address_in_use || error == asio::error::access_denied)
            return listener;
    }
    listener.open(tcp::v4()); // throws
    if (bindAndListen(listener, {tcp::v4(), port}))
        listener.close();
    return listener;
}

} // namespace

ConnectionLoop::ConnectionLoop(PhoneDocuments documents, const ServerLimits& limits,
                               Deliver deliver)
    : m_context(std::make_shared<asio::io_context>(1)),
      m_work(m_context->get_executor()),
      m_shared{std::move(documents),
               limits,
               std::make_shared<UploadBudget>(m_context, limits.heldBytes),
               std::move(deliver),
               [this] { admitNext(); },
               [this](PhoneConnection& connection) { closed(connection); },
               {}},
      m_pause(*m_context),
      m_thread([this] { run(); }) {
}

ConnectionLoop::~ConnectionLoop() {
    asio::post(*m_context, [this] {
        replaceListener(nullptr);
        m_next.reset();
        for (const auto& connection : Connections(m_connections))
            connection->close();
        m_work.reset();
    });
    m_thread.join();
}

std::optional<std::uint16_t> ConnectionLoop::listen(std::uint16_t port) {
    const auto listener = std::make_shared<tcp::acceptor>(openListener(*m_context, port));
    if (!listener->is_open())
        return {};
    keepFromChildren(*listener);
    listener->non_blocking(true);
    const std::uint16_t bound = listener->local_endpoint().port();
    asio::post(*m_context, [this, listener] { replaceListener(listener); });
    return bound;
}

void ConnectionLoop::stopListening() {
    asio::post(*m_context, [this] { replaceListener(nullptr); });
}

void ConnectionLoop::run() {
    for (;;) {
        try {
            accept();
            m_context->run();
            return;
        } catch (const std::exception&) {
            // One connection could not get its memory; its time limit closes it. The others go on.
        }
    }
}

void ConnectionLoop::replaceListener(std::shared_ptr<tcp::acceptor> listener) {
    m_pause.cancel();
    if (m_listener)
        m_listener->close();
    m_listener = std::move(listener);
    m_isAccepting = false;
    accept();
}

void ConnectionLoop::accept() {
    if (!m_listener || m_isAccepting || m_next)
        return;
    m_isAccepting = true;
    m_listener->async_accept(
        [this, listener = m_listener](const asio::error_code& error, tcp::socket socket) {
            if (listener == m_listener)
                accepted(error, std::move(socket));
        });
}

void ConnectionLoop::accepted(const asio::error_code& error, tcp::socket socket) {
    m_isAccepting = false;
    if (error == asio::error::connection_aborted)
        return accept();
    if (error)
        return acceptAfterPause();
    m_wasVisited = true;
    keepFromChildren(socket);
    m_next = std::move(socket);
    admitNext();
}

void ConnectionLoop::acceptAfterPause() {
    m_pause.expires_after(acceptPause);
    m_pause.async_wait([this](const asio::error_code& error) {
        if (!error)
            accept();
    });
}

/// At the limit the oldest connection that loses nothing gives way, so that silent ones cannot keep
/// a phone out; where there is none, the next one waits.
void ConnectionLoop::admitNext() {
    if (m_next && m_connections.size() >= m_shared.limits.connections) {
        const auto oldest =
            std::ranges::find_if(m_connections, [](const auto& c) { return c->isExpendable(); });
        if (oldest != m_connections.end())
            std::shared_ptr(*oldest)->close(); // which admits the next
        return;
    }
    if (m_next) {
        const auto connection = std::make_shared<PhoneConnection>(std::move(*m_next), m_shared);
        m_next.reset();
        m_connections.push_back(connection);
        connection->start();
    }
    accept();
}

void ConnectionLoop::closed(PhoneConnection& connection) {
    std::erase_if(m_connections, [&](const auto& c) { return c.get() == &connection; });
    admitNext();
}

} // namespace kopertal
