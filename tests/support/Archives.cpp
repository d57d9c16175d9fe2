#include "tests/support/Archives.h"

#include <QFile>
#include <zip.h>

namespace kopertal::test {

bool writeArchive(const QString& path, const QList<ArchiveEntry>& entries) {
    zip_t* archive =
        zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    if (!archive)
        return false;
    for (const ArchiveEntry& entry : entries) {
        zip_int64_t index = -1;
        if (entry.name.endsWith('/')) {
            index = zip_dir_add(archive, entry.name.constData(), ZIP_FL_ENC_UTF_8);
        } else {
            zip_source_t* source =
                zip_source_buffer(archive, entry.contents.constData(),
                                  static_cast<zip_uint64_t>(entry.contents.size()), 0);
            index = zip_file_add(archive, entry.name.constData(), source, ZIP_FL_ENC_UTF_8);
        }
        if (index < 0) {
            zip_discard(archive);
            return false;
        }
        const auto position = static_cast<zip_uint64_t>(index);
        zip_set_file_compression(archive, position, entry.deflated ? ZIP_CM_DEFLATE : ZIP_CM_STORE,
                                 0);
        if (entry.unixMode != 0)
            zip_file_set_external_attributes(archive, position, 0, ZIP_OPSYS_UNIX,
                                             entry.unixMode << 16);
    }
    return zip_close(archive) == 0;
}

QMap<QString, StoredEntry> readArchive(const QString& path) {
    QMap<QString, StoredEntry> entries;
    zip_t* archive =
        zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY | ZIP_CHECKCONS, nullptr);
    if (!archive)
        return entries;
    for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i) {
        zip_stat_t stat;
        zip_stat_index(archive, static_cast<zip_uint64_t>(i), 0, &stat);
        StoredEntry entry{QByteArray(static_cast<qsizetype>(stat.size), Qt::Uninitialized),
                          stat.comp_method == ZIP_CM_STORE};
        zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(i), 0);
        char end = 0;
        const bool isWhole = zip_fread(file, entry.contents.data(), stat.size) ==
                                 static_cast<zip_int64_t>(stat.size) &&
                             zip_fread(file, &end, 1) == 0;
        zip_fclose(file);
        if (!isWhole) {
            entries.clear();
            break;
        }
        entries.insert(QString::fromUtf8(stat.name), entry);
    }
    zip_discard(archive);
    return entries;
}

QList<ArchiveEntry> templateEntries(const QByteArray& documentXml) {
    return {
        {"[Content_Types].xml", "<Types>template.main+xml</Types>"},
        {"_rels/.rels", "<Relationships/>"},
        {"word/document.xml", documentXml},
    };
}

} // namespace kopertal::test
