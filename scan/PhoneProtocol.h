#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

/// What the phone and the program say to each other, as pure functions over bytes. One request per
/// connection; its whole header block arrives in the first read.
namespace kopertal {

constexpr std::size_t maxReadBytes = 65'536;
constexpr std::size_t maxUploadBytes = 52'428'800; // 50 MiB, itself accepted

/// The four documents that the phone is served, in UTF-8.
struct PhoneDocuments {
    std::string scanPage;
    std::string pairingPage;
    std::string manifest;
    std::string serviceWorker;
};

enum class Answer {
    scanPage,
    pairingPage,
    manifest,
    serviceWorker,
    probe,
    accepted,
    badRequest,
    tooLarge,
    notFound
};

/// The connection is closed without a word.
struct Drop {
    bool operator==(const Drop&) const = default;
};

/// An upload whose body of `length` bytes (1 to maxUploadBytes) is to be collected.
struct Upload {
    std::size_t length = 0;
    std::string_view bodyStart; ///< into the first read; may be longer than `length`
    bool operator==(const Upload&) const = default;
};

using Decision = std::variant<Drop, Answer, Upload>;

/// What to do about a connection whose first read gave these bytes. Any bytes may come.
Decision decide(std::string_view firstRead);

/// The answer's bytes, head and document.
std::string answerBytes(Answer answer, const PhoneDocuments& documents);

/// Where the photo begins in an upload's body: at the first JPEG marker wherever it stands, else at
/// the first PNG signature, else at 0.
std::size_t photoStart(std::string_view body);

} // namespace kopertal
