#pragma once

#include "scan/Barcode.h"
#include "scan/ScannedEntry.h"

#include <QByteArray>
#include <QJsonObject>

#include <optional>

namespace kopertal {

enum class PhotoOutcome {
    unreadable, ///< No picture, or a damaged one.
    none,       ///< A picture without any code that could be read.
    numbers,    ///< Codes were read. All of them may have cleaned to nothing.
};

/// What a photo said.
struct PhotoResult {
    PhotoOutcome outcome = PhotoOutcome::unreadable;
    QList<Barcode> numbers; ///< Cleaned, each once, in ascending order of their texts.

    QList<ScannedEntry> entries() const;
};

/// The result for the codes on a picture, in their reading order.
PhotoResult toPhotoResult(const QList<Barcode>& codes);

/// {"photo": …, "outcome": "numbers" | "none" | "unreadable", "numbers": [{"text", "format",
/// "box": {"x", "y", "width", "height"}}, …]}
QJsonObject toJson(const QString& photo, const PhotoResult& result);

/// The result in the answer of a recognition process, an array of one such object. Nothing when the
/// answer is anything else: the process had hostile bytes in its hands.
std::optional<PhotoResult> photoResultFromJson(const QByteArray& answer);

} // namespace kopertal
