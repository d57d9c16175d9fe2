#pragma once

#include "tests/support/RawClient.h"

#include <random>

namespace kopertal::test {

/// Anything that a phone or a stranger may do, drawn by chance. True when it was an upload and its
/// answer says that it was accepted; then it was whole, but for an early end, and all 'x'.
inline bool makeRandomRequest(std::uint16_t port, std::mt19937& random) {
    RawClient client(port);
    const std::string photo(1 + random() % 200'000, 'x');
    switch (random() % 10) {
    case 0: // never says anything
        return false;
    case 1: // does not wait for the answer
        client.send("GET / HTTP/1.1\r\n\r\n");
        return false;
    case 2: // is lost in the middle of its photo
        client.send(uploadHead(photo.size() + 1'000'000) + photo);
        client.reset();
        return false;
    case 3: // too much
        client.send(uploadHead(60'000'000) + photo);
        break;
    case 4: // nonsense
        client.send(photo);
        break;
    case 5: // ends early, and still counts
        client.send(uploadHead(photo.size() + 1) + photo);
        client.finish();
        break;
    default:
        client.send(uploadHead(photo.size()) + photo);
    }
    return client.readAll().value_or("").starts_with("HTTP/1.1 200");
}

} // namespace kopertal::test
