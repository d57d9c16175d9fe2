#pragma once

#include "scan/PhotoRecognizer.h"
#include "tests/support/RawClient.h"
#include "tests/support/photo/RegisterPhoto.h"

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

inline bool upload(quint16 port, const QByteArray& body) {
    const std::string request = uploadHead(body.size()) + body.toStdString();
    return RawClient::ask(port, request).starts_with("HTTP/1.1 200");
}

} // namespace kopertal::test
