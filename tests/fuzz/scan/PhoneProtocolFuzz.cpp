// Any bytes as a connection's first read, and the same bytes as an upload's body.

#include "scan/PhoneProtocol.h"
#include "scan/Utf8.h"

#include <cstdint>
#include <cstdlib>

using namespace kopertal;

namespace {

void require(bool holds) {
    if (!holds)
        std::abort();
}

void checkDecision(std::string_view bytes) {
    const Decision decision = decide(bytes);
    const std::size_t end = bytes.find("\r\n\r\n");
    const bool isReadable = end != std::string_view::npos && isUtf8(bytes.substr(0, end));
    require(std::holds_alternative<Drop>(decision) == !isReadable);
    if (const Upload* upload = std::get_if<Upload>(&decision)) {
        require(bytes.starts_with("POST /upload"));
        require(upload->length >= 1 && upload->length <= maxUploadBytes);
        require(upload->bodyStart == bytes.substr(end + 4));
    }
    if (const Answer* answer = std::get_if<Answer>(&decision)) {
        require(*answer != Answer::accepted);
        require(answerBytes(*answer, {}).starts_with("HTTP/1.1 "));
    }
    // What follows the header block decides nothing.
    if (isReadable)
        require(decide(bytes.substr(0, end + 4)).index() == decision.index());
}

void checkPhoto(std::string_view body) {
    const std::size_t start = photoStart(body);
    require(start <= body.size());
    const std::string_view photo = body.substr(start);
    if (start > 0)
        require(photo.starts_with("\xFF\xD8") || photo.starts_with("\x89PNG"));
    if (!photo.starts_with("\xFF\xD8"))
        require(body.find("\xFF\xD8") == std::string_view::npos);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    checkDecision(bytes);
    checkPhoto(bytes);
    return 0;
}
