#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

class QIODevice;

namespace kopertal {

/// The largest text of addresses that is read. As many recipients as a register may have take about
/// 16 MB; an endless source (a device, a pipe) must not fill the memory.
inline constexpr qint64 maxAddressFileBytes = 64LL * 1024 * 1024;

/// Text from the bytes of a file of addresses: UTF-8, else Windows-1250, else ISO 8859-2; the first
/// under which every byte has a meaning. UTF-16 is known by its byte order mark. The mark is
/// dropped; CR LF and CR become LF. Nothing when the bytes are no text: NUL has a meaning in none.
std::optional<QString> decodeAddresses(QByteArrayView bytes);

/// Reads `source` (open for reading) to its end and decodes it. Throws FileError, with `name` for
/// the source, when it cannot be read, is larger than maxAddressFileBytes or is no text.
QString readAddresses(QIODevice& source, const QString& name);

} // namespace kopertal
