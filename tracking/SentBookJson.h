#pragma once

#include "tracking/SentBook.h"

#include <QByteArray>

#include <optional>

namespace kopertal {

/// The register as compact JSON in UTF-8: an array of books, identifiers in upper case, slashes
/// escaped.
QByteArray encodeSentBooks(const QList<SentBook>& books);

/// The register that the JSON holds; nothing when anything in it is missing, of another type or no
/// identifier. Unknown keys are passed over.
std::optional<QList<SentBook>> decodeSentBooks(const QByteArray& json);

} // namespace kopertal
