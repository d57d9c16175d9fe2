#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

class QIODevice;

namespace kopertal {

/// The largest text of addresses that is read: a million recipients take about 80 MB, and an
/// endless source (a device, a pipe) must not fill the memory.
inline constexpr qint64 maxAddressFileBytes = 256LL * 1024 * 1024;

/// Text from the bytes of a file of addresses: UTF-8, else Windows-1250, else ISO 8859-2; the first
/// under which every byte has a meaning. A byte order mark is dropped; CR LF and CR become LF.
/// Nothing when the bytes are text in none of them.
std::optional<QString> decodeAddresses(QByteArrayView bytes);

/// Reads `source` (open for reading) to its end and decodes it. Throws FileError, with `name` for
/// the source, when it cannot be read, is larger than maxAddressFileBytes or is no text.
QString readAddresses(QIODevice& source, const QString& name);

} // namespace kopertal
