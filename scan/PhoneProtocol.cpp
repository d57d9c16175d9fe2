#include "scan/PhoneProtocol.h"

#include "scan/Utf8.h"

#include <optional>

namespace kopertal {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view headerEnd = "\r\n\r\n"sv;

std::string documentAnswer(std::string_view contentType, std::string_view document) {
    std::string bytes = "HTTP/1.1 200 OK\r\nContent-Type: ";
    bytes.append(contentType).append("; charset=utf-8\r\nContent-Length: ");
    bytes.append(std::to_string(document.size())).append("\r\nConnection: close\r\n\r\n");
    return bytes.append(document);
}

/// The value of the first `name` in the header block: up to the line's end, which is the block's
/// end where the line stands last.
std::optional<std::string_view> valueAfter(std::string_view header, std::string_view name) {
    const std::size_t start = header.find(name);
    if (start == std::string_view::npos)
        return {};
    const std::string_view rest = header.substr(start + name.size());
    return rest.substr(0, rest.find("\r\n"sv));
}

/// What a declared length says: an upload of that many bytes, or why it is refused. Saturates just
/// above the limit, so that no number is too long to be read.
std::variant<std::size_t, Answer> readLength(std::string_view value) {
    const bool isNegative = value.starts_with('-');
    if (isNegative || value.starts_with('+'))
        value.remove_prefix(1);
    if (value.empty())
        return Answer::badRequest;
    std::size_t length = 0;
    for (const char c : value) {
        if (c < '0' || c > '9')
            return Answer::badRequest;
        if (length <= maxUploadBytes)
            length = length * 10 + static_cast<std::size_t>(c - '0');
    }
    if (isNegative || length == 0)
        return Answer::badRequest;
    if (length > maxUploadBytes)
        return Answer::tooLarge;
    return length;
}

Decision decideUpload(std::string_view header, std::string_view bodyStart) {
    // The two spellings that browsers send; no other is recognised.
    std::optional<std::string_view> value = valueAfter(header, "Content-Length: "sv);
    if (!value)
        value = valueAfter(header, "content-length: "sv);
    if (!value)
        return Answer::badRequest;
    const auto length = readLength(*value);
    if (const Answer* refusal = std::get_if<Answer>(&length))
        return *refusal;
    return Upload{std::get<std::size_t>(length), bodyStart};
}

} // namespace

Decision decide(std::string_view firstRead) {
    const std::size_t end = firstRead.find(headerEnd);
    if (end == std::string_view::npos)
        return Drop{};
    const std::string_view header = firstRead.substr(0, end);
    if (!isUtf8(header))
        return Drop{};
    if (header.starts_with("GET /manifest.json"sv))
        return Answer::manifest;
    if (header.starts_with("GET /sw.js"sv))
        return Answer::serviceWorker;
    if (header.starts_with("GET /ping"sv))
        return Answer::probe;
    if (header.starts_with("GET"sv))
        return header.starts_with("GET /pair"sv) ? Answer::pairingPage : Answer::scanPage;
    if (header.starts_with("POST /upload"sv))
        return decideUpload(header, firstRead.substr(end + headerEnd.size()));
    return Answer::notFound;
}

std::string answerBytes(Answer answer, const PhoneDocuments& documents) {
    switch (answer) {
    case Answer::scanPage:
        return documentAnswer("text/html"sv, documents.scanPage);
    case Answer::pairingPage:
        return documentAnswer("text/html"sv, documents.pairingPage);
    case Answer::manifest:
        return documentAnswer("application/manifest+json"sv, documents.manifest);
    case Answer::serviceWorker:
        return documentAnswer("application/javascript"sv, documents.serviceWorker);
    case Answer::probe:
        return "HTTP/1.1 200 OK\r\nAccess-Control-Allow-Origin: *\r\nContent-Length: 2\r\n"
               "Connection: close\r\n\r\nok";
    case Answer::accepted:
        return "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    case Answer::badRequest:
        return "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    case Answer::tooLarge:
        return "HTTP/1.1 413 Payload Too Large\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    case Answer::notFound:
        break;
    }
    return "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
}

std::size_t photoStart(std::string_view body) {
    for (const std::string_view marker : {"\xFF\xD8"sv, "\x89PNG"sv}) {
        if (const std::size_t found = body.find(marker); found != std::string_view::npos)
            return found;
    }
    return 0;
}

} // namespace kopertal
