#include "scan/PhoneProtocol.h"
#include "scan/Utf8.h"
#include "tests/fuzz/FuzzTarget.h"

using namespace kopertal;

/// Any bytes as a connection's first read, and the same bytes as an upload's body.
void feed(QByteArrayView input) {
    const std::string_view bytes(input.data(), static_cast<std::size_t>(input.size()));
    const Decision decision = decide(bytes);
    const std::size_t end = bytes.find("\r\n\r\n");
    const bool isReadable = end != std::string_view::npos && isUtf8(bytes.substr(0, end));
    require(std::holds_alternative<Drop>(decision) == !isReadable,
            "only what is no header is dropped");
    if (const Upload* upload = std::get_if<Upload>(&decision)) {
        require(bytes.starts_with("POST /upload"), "an upload is posted");
        require(upload->length >= 1 && upload->length <= maxUploadBytes, "its length is in bounds");
        require(upload->bodyStart == bytes.substr(end + 4), "its body begins after the header");
    }
    if (isReadable)
        require(decide(bytes.substr(0, end + 4)).index() == decision.index(),
                "what follows the header decides nothing");
    require(photoStart(bytes) <= bytes.size(), "a photo begins in the body");
}
