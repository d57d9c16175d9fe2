#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

namespace kopertal::test {

struct ArchiveEntry {
    QByteArray name;
    QByteArray contents;
};

/// Writes a ZIP archive of the entries. False on failure.
bool writeArchive(const QString& path, const QList<ArchiveEntry>& entries);

/// What the archive at `path` holds, by name; empty when it does not open.
QMap<QString, ArchiveEntry> readArchive(const QString& path);

/// The entries of a small template whose main document is `documentXml`.
QList<ArchiveEntry> templateEntries(const QByteArray& documentXml);

} // namespace kopertal::test
