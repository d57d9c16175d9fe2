#include "tests/support/Archives.h"

#include <QFile>
#include <zip.h>

namespace kopertal::test {

bool writeArchive(const QString& path, const QList<ArchiveEntry>& entries) {
    zip_t* archive =
        zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    if (!archive)
        return false;
    bool isWhole = true;
    for (const auto& [name, contents] : entries) {
        zip_source_t* source = zip_source_buffer(archive, contents.constData(),
                                                 static_cast<zip_uint64_t>(contents.size()), 0);
        isWhole &= zip_file_add(archive, name.constData(), source, ZIP_FL_ENC_UTF_8) >= 0;
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
        entries.insert(QString::fromUtf8(stat.name), {stat.name, contents});
    }
    zip_discard(archive);
    return entries;
}

QList<ArchiveEntry> templateEntries(const QByteArray& documentXml) {
    return {{"[Content_Types].xml", "<Types>template.main+xml</Types>"},
            {"_rels/.rels", "<Relationships/>"},
            {"word/document.xml", documentXml}};
}

} // namespace kopertal::test
