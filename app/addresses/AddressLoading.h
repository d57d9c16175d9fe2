#pragma once

#include <QFuture>
#include <QString>

#include <optional>

namespace kopertal {

/// What a file gave: the text for the editor; or why it is refused, in words for the user; or
/// neither, when it is no file or holds no text, which is passed over in silence.
struct LoadedAddresses {
    std::optional<QString> text;
    QString refusal;
};

/// Reads the file in the background; no more of it than the editor could take.
QFuture<LoadedAddresses> startLoading(const QString& path);

} // namespace kopertal
