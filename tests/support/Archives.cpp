#include "tests/support/Archives.h"

#include <QFile>
#include <zip.h>

#include <sys/stat.h>

namespace kopertal::test {

bool writeArchive(const QString& path, const QList<ArchiveEntry>& entries) {
    zip_t* archive =
        zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    if (!archive)
        return false;
    bool isWhole = true;
    for (const ArchiveEntry& entry : entries) {
        zip_source_t* source =
            zip_source_buffer(archive, entry.contents.constData(),
                              static_cast<zip_uint64_t>(entry.contents.size()), 0);
        const zip_int64_t index =
            zip_file_add(archive, entry.name.constData(), source, ZIP_FL_ENC_UTF_8);
        isWhole &= index >= 0;
        const auto position = static_cast<zip_uint64_t>(index);
        zip_set_file_compression(archive, position, entry.deflated ? ZIP_CM_DEFLATE : ZIP_CM_STORE,
                                 0);
        const unsigned int mode = entry.name.endsWith('/') ? S_IFDIR | 0777 : S_IFREG | 0666;
        zip_file_set_external_attributes(archive, position, 0, ZIP_OPSYS_UNIX,
                                         (entry.unixMode != 0 ? entry.unixMode : mode) << 16);
    }
    return zip_close(archive) == 0 && isWhole;
}

QMap<QString, ArchiveEntry> readArchive(const QString& path) {
    QMap<QString, ArchiveEntry> entries;
    zip_t* archive =
        zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY | ZIP_CHECKCONS, nullptr);
    if (!archive)
        return entries;
    for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i) {
        zip_stat_t stat;
        zip_stat_index(archive, static_cast<zip_uint64_t>(i), 0, &stat);
        QByteArray contents(static_cast<qsizetype>(stat.size), '\0');
        zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(i), 0);
        zip_fread(file, contents.data(), stat.size);
        zip_fclose(file);
        entries.insert(QString::fromUtf8(stat.name),
                       {stat.name, contents, stat.comp_method != ZIP_CM_STORE});
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
