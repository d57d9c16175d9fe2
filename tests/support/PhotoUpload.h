#pragma once

#include "scan/PhotoRecognizer.h"
#include "tests/support/RawClient.h"
#include "tests/support/photo/RegisterPhoto.h"

#include <opencv2/core.hpp>

#include <string>

namespace kopertal::test {

/// The program's own recognition. `slowness` is shell for what a photo's process does first.
inline RecognizerOptions recognition(const QString& slowness = {}) {
    RecognizerOptions options;
    options.program = QStringLiteral("/bin/sh");
    options.arguments = {QStringLiteral("-c"),
                         slowness + QStringLiteral(" exec " KOPERTAL_PROGRAM " scan --json -")};
    return options;
}

inline QByteArray photo(const QStringList& codes) {
    QList<CodeText> texts;
    for (const QString& code : codes)
        texts << CodeText{QStringLiteral("Code128"), code};
    return makeScreenshot(texts).jpeg;
}

inline QByteArray codelessPhoto() {
    cv::RNG random(5);
    return encodePage(codelessPage(random, 4).ink, "jpeg");
}

inline std::string uploadHead(const QByteArray& body) {
    return "POST /upload HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n";
}

inline bool upload(quint16 port, const QByteArray& body) {
    return RawClient::ask(port, uploadHead(body) + body.toStdString()).starts_with("HTTP/1.1 200");
}

} // namespace kopertal::test
