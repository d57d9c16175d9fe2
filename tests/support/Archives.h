#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

namespace kopertal::test {

struct ArchiveEntry {
    QByteArray name;
    QByteArray contents;
    bool deflated = true;
    unsigned int unixMode = 0; ///< 0 leaves the attributes of an archiver without Unix modes.
};

/// Writes a ZIP archive of the entries; names are taken as they are, however hostile. False on
/// failure.
bool writeArchive(const QString& path, const QList<ArchiveEntry>& entries);

struct StoredEntry {
    QByteArray contents;
    bool isStored = false;
};

/// What the archive at `path` holds, by name; empty when it does not open or an entry is damaged.
QMap<QString, StoredEntry> readArchive(const QString& path);

/// The entries of a small template whose main document is `documentXml`.
QList<ArchiveEntry> templateEntries(const QByteArray& documentXml);

} // namespace kopertal::test
