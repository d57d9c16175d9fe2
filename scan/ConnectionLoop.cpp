#include "scan/ConnectionLoop.h"

#include <asio/dispatch.hpp>
#include <asio/error.hpp>
#include <asio/ip/v6_only.hpp>
#include <asio/post.hpp>

#include <algorithm>
#include <exception>
#include <fcntl.h>
#include <future>
#include <tuple>
#include <utility>

namespace kopertal {

using asio::ip::tcp;

namespace {

/// Between attempts to accept while the process has no descriptor to spare and nobody gives way.
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
               [this] { return m_next.has_value() || m_shared.budget->isAwaited(); },
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
    std::promise<void> closed;
    asio::dispatch(*m_context, [&] {
        replaceListener(nullptr);
        closed.set_value();
    });
    closed.get_future().wait();
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
    m_listener->async_wait(tcp::acceptor::wait_read,
                           [this, listener = m_listener](const asio::error_code&) {
                               if (listener == m_listener)
                                   acceptPending();
                           });
    m_isAccepting = true;
}

/// Only when a connection is pending: without a descriptor to spare, the system would report that
/// rather than that there is none, and others would have given way to nobody.
void ConnectionLoop::acceptPending() {
    m_isAccepting = false;
    tcp::socket socket(*m_context);
    asio::error_code error;
    m_listener->accept(socket, error);
    if (error == asio::error::would_block || error == asio::error::connection_aborted)
        return accept();
    if (error)
        return makeWay() ? accept() : acceptAfterPause();
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

/// At the limit another gives way to the next one, or the next one waits.
void ConnectionLoop::admitNext() {
    if (m_next && m_connections.size() >= m_shared.limits.connections) {
        makeWay(); // which admits the next
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

/// Closes the connection that is worth least, the longest idle of these; never one that works. So
/// no number of silent or waiting ones can keep a phone out.
bool ConnectionLoop::makeWay() {
    const auto least = std::ranges::min_element(m_connections, {}, [](const auto& connection) {
        return std::tuple(connection->worth(), connection->idleSince());
    });
    if (least == m_connections.end() || (*least)->worth() == PhoneConnection::Worth::working)
        return false;
    std::shared_ptr(*least)->close();
    return true;
}

void ConnectionLoop::closed(PhoneConnection& connection) {
    std::erase_if(m_connections, [&](const auto& c) { return c.get() == &connection; });
    admitNext();
}

} // namespace kopertal
