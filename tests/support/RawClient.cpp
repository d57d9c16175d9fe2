#include "tests/support/RawClient.h"

#include <arpa/inet.h>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

RawClient::RawClient(std::uint16_t port, const char* from)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const auto reaches = [this](auto call, const char* address, std::uint16_t at) {
        const sockaddr_in end{AF_INET, htons(at), {inet_addr(address)}, {}};
        return call(m_socket, reinterpret_cast<const sockaddr*>(&end), sizeof end) == 0;
    };
    if ((from && !reaches(bind, from, 0)) || !reaches(connect, "127.0.0.1", port))
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
    const timeval patience{limit.count() / 1000, limit.count() % 1000 * 1000};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    std::string all;
    char chunk[65536];
    for (;;) {
        const ssize_t count = recv(m_socket, chunk, sizeof chunk, 0);
        if (count < 0 && errno == EAGAIN)
            return {};
        if (count <= 0)
            return all;
        all.append(chunk, static_cast<std::size_t>(count));
    }
}

std::string RawClient::ask(std::uint16_t port, std::string_view request) {
    RawClient client(port);
    client.send(request);
    client.finish();
    return client.readAll().value_or(std::string());
}
