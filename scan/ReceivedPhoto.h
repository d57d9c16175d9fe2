#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace kopertal {

/// An upload as it arrived, never copied: copies of this value share the bytes, and the last one
/// frees them. To be let go soon, for what photos hold counts against the server's limit.
class ReceivedPhoto {
public:
    /// The body is `size` bytes at `bytes`; the photo in it begins at `start`, at most `size`.
    ReceivedPhoto(std::shared_ptr<const char[]> bytes, std::size_t size, std::size_t start)
        : m_bytes(std::move(bytes)), m_size(size), m_start(start) {}

    /// From the first image marker on.
    std::string_view photo() const { return whole().substr(m_start); }

    /// The whole body. Most photos that are not JPEG hold a JPEG marker by chance, and what is cut
    /// there is rubbish: then this is the photo.
    std::string_view whole() const { return {m_bytes.get(), m_size}; }

private:
    std::shared_ptr<const char[]> m_bytes;
    std::size_t m_size;
    std::size_t m_start;
};

} // namespace kopertal
