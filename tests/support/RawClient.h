#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// A TCP client on loopback that sends exactly the bytes it is told to, when it is told to.
class RawClient {
public:
    /// Connects, from another address of this computer when one is given; isOpen() tells whether
    /// that worked.
    explicit RawClient(std::uint16_t port, const char* from = nullptr);
    ~RawClient();
    RawClient(RawClient&& other) noexcept;

    bool isOpen() const { return m_socket >= 0; }

    /// False when the peer has closed before it took everything.
    bool send(std::string_view bytes);
    /// Ends the output; the input stays open.
    void finish();
    /// Closes with a reset instead of an orderly end.
    void reset();

    /// Everything up to the peer's end; nothing when for `limit` nothing came. A reset counts as an
    /// end.
    std::optional<std::string> readAll(std::chrono::milliseconds limit = std::chrono::seconds(10));

    /// Connects, sends, ends its output and reads the answer. Empty without one.
    static std::string ask(std::uint16_t port, std::string_view request);

private:
    int m_socket = -1;
};

/// What comes before a photo of that many bytes.
inline std::string uploadHead(std::size_t length) {
    return "POST /upload HTTP/1.1\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
}
