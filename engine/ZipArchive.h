#pragma once

#include <QString>

#include <stop_token>

namespace kopertal {

// Bounds of an archive that is unpacked. A register template is some ten files of 100 kB, a richly
// illustrated one a few megabytes; beyond these an archive is a mistake or an attack.
inline constexpr qint64 maxArchiveBytes = 64LL * 1024 * 1024;
inline constexpr qint64 maxUnpackedEntryBytes = 64LL * 1024 * 1024;
inline constexpr qint64 maxUnpackedBytes = 256LL * 1024 * 1024;
inline constexpr qint64 maxArchiveEntries = 4096;

/// Unpacks the archive at `archivePath` (a file or a resource of the program) into the existing,
/// empty folder. Every entry's CRC-32 is checked. Throws FileError in the library's or system's
/// words for what cannot be read, and for an archive beyond the bounds above, an entry whose name
/// is absolute, leaves the folder, holds a backslash or control character, or stands twice, and for
/// one that is neither file nor folder (a link). What was unpacked before stays in the folder;
/// nothing is ever written outside it.
void unzipItem(const QString& archivePath, const QString& folder);

/// Packs the contents of `folder`, without the folder itself, into `archivePath`: entries stored
/// uncompressed, the content types first, the rest by name. The archive is built under another name
/// beside `archivePath` and takes its place when it is whole, so a failure leaves what was there.
/// Throws FileError; Cancelled when `stop` is requested meanwhile.
void zipItem(const QString& folder, const QString& archivePath, const std::stop_token& stop);

} // namespace kopertal
