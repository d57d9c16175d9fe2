#include "tests/support/RawClient.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

RawClient::RawClient(std::uint16_t port, Family family) {
    const sockaddr_in from{AF_INET, 0, {htonl(INADDR_LOOPBACK + 1)}, {}};
    const sockaddr_in v4{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    const sockaddr_in6 v6{AF_INET6, htons(port), 0, in6addr_loopback, 0};
    const bool isV6 = family == Family::v6;
    m_socket = socket(isV6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isBound = family != Family::otherV4 ||
                         bind(m_socket, reinterpret_cast<const sockaddr*>(&from), sizeof from) == 0;
    const auto* const to =
        isV6 ? reinterpret_cast<const sockaddr*>(&v6) : reinterpret_cast<const sockaddr*>(&v4);
    const bool isConnected = isBound && connect(m_socket, to, isV6 ? sizeof v6 : sizeof v4) == 0;
    if (!isConnected && m_socket >= 0)
        close(std::exchange(m_socket, -1));
}

RawClient::~RawClient() {
    if (m_socket >= 0)
        close(m_socket);
}

RawClient::RawClient(RawClient&& other) noexcept : m_socket(std::exchange(other.m_socket, -1)) {
}

bool RawClient::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void RawClient::finish() {
    shutdown(m_socket, SHUT_WR);
}

void RawClient::reset() {
    const linger abortive{1, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
    close(std::exchange(m_socket, -1));
}

std::optional<std::string> RawClient::readAll(std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    std::string all;
    char chunk[65536];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        pollfd ready{m_socket, POLLIN, 0};
        if (left.count() < 0 || poll(&ready, 1, static_cast<int>(left.count())) == 0)
            return {};
        const ssize_t count = recv(m_socket, chunk, sizeof chunk, 0);
        if (count <= 0)
            return all;
        all.append(chunk, static_cast<std::size_t>(count));
    }
}

std::string RawClient::ask(std::uint16_t port, std::string_view request) {
    RawClient client(port);
    if (!client.isOpen())
        return {};
    client.send(request);
    client.finish();
    return client.readAll().value_or(std::string());
}
