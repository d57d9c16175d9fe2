#include "engine/ZipArchive.h"

#include "engine/EngineError.h"
#include "engine/NewFile.h"
#include "engine/RegularFile.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSet>
#include <zip.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <sys/stat.h>

namespace kopertal {
namespace {

struct Discard {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct CloseEntry {
    void operator()(zip_file_t* entry) const { zip_fclose(entry); }
};
struct Error : zip_error_t {
    Error() { zip_error_init(this); }
    ~Error() { zip_error_fini(this); }
    Error(const Error&) = delete;
    Error& operator=(const Error&) = delete;
};
using Archive = std::unique_ptr<zip_t, Discard>;
using Entry = std::unique_ptr<zip_file_t, CloseEntry>;

/// In the system's words where it is the system that refuses, else in the library's.
[[noreturn]] void fail(const QString& path, zip_error_t* error) {
    if (zip_error_system_type(error) == ZIP_ET_SYS && zip_error_code_system(error) != 0)
        throw FileError(path, zip_error_code_system(error));
    throw FileError(path, QString::fromLocal8Bit(zip_error_strerror(error)));
}

[[noreturn]] void fail(const QString& path, zip_t* archive) {
    fail(path, zip_get_error(archive));
}

QByteArray readArchive(const QString& path) {
    QFile file(path);
    openRegular(file);
    // One byte more than there may be; reading first makes room for all that is asked for.
    QByteArray bytes = file.read(std::min(file.size(), maxArchiveBytes) + 1);
    if (file.error() != QFileDevice::NoError)
        throw FileError(path, file.errorString());
    if (bytes.size() > maxArchiveBytes)
        throw FileError(path, QStringLiteral("archiwum jest za duże"));
    return bytes;
}

Archive openArchive(const QByteArray& bytes, const QString& path) {
    Error error;
    if (bytes.isEmpty()) { // which the library takes for an archive without entries
        zip_error_set(&error, ZIP_ER_NOZIP, 0);
        fail(path, &error);
    }
    zip_source_t* source = zip_source_buffer_create(
        bytes.constData(), static_cast<zip_uint64_t>(bytes.size()), 0, &error);
    if (!source)
        fail(path, &error);
    Archive archive(zip_open_from_source(source, ZIP_RDONLY, &error));
    if (!archive) {
        zip_source_free(source);
        fail(path, &error);
    }
    return archive;
}

bool staysInside(const QString& name) {
    if (name.isEmpty() || name.contains(u'\\'))
        return false;
    if (std::any_of(name.begin(), name.end(), [](QChar c) { return c.unicode() < 0x20; }))
        return false;
    const QStringList components = name.split(u'/');
    return std::none_of(components.begin(), components.end(), [](const QString& component) {
        return component.isEmpty() || component == u"." || component == u"..";
    });
}

/// The type bits of a file mode, which archivers for Unix put into the upper half of the
/// attributes.
unsigned int unixFileType(zip_t* archive, zip_uint64_t index, const QString& path) {
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(archive, index, 0, &system, &attributes) != 0)
        fail(path, archive);
    return (attributes >> 16) & S_IFMT;
}

/// Writes the entry to a new file and returns its size. Reads until the library reports the end,
/// for only there does it compare the checksum.
qint64 unpackEntry(zip_t* archive, zip_uint64_t index, const QString& path, const QString& target,
                   qint64 allowance) {
    const Entry entry(zip_fopen_index(archive, index, 0));
    if (!entry)
        fail(path, archive);
    errno = 0;
    if (!QDir().mkpath(QFileInfo(target).path()))
        throw FileError(target, errno);
    NewFile file(target);
    qint64 total = 0;
    char chunk[65536];
    for (;;) {
        const zip_int64_t count = zip_fread(entry.get(), chunk, sizeof chunk);
        if (count < 0)
            fail(path, zip_file_get_error(entry.get()));
        if (count == 0)
            break;
        total += count;
        if (total > allowance)
            throw FileError(path, QStringLiteral("archiwum rozpakowuje się w zbyt wiele danych"));
        file.write(chunk, count);
    }
    file.close();
    return total;
}

QStringList relativeFiles(const QString& folder) {
    QStringList files;
    const QDir root(folder);
    QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext())
        files.append(root.relativeFilePath(walk.next()));
    std::ranges::sort(files);
    std::stable_partition(files.begin(), files.end(),
                          [](const QString& f) { return f == u"[Content_Types].xml"; });
    return files;
}

int isStopRequested(zip_t*, void* stop) {
    return static_cast<const std::stop_token*>(stop)->stop_requested() ? 1 : 0;
}

} // namespace

void unzipItem(const QString& archivePath, const QString& folder) {
    const QByteArray bytes = readArchive(archivePath);
    const Archive archive = openArchive(bytes, archivePath);
    const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
    if (count > maxArchiveEntries)
        throw FileError(archivePath, QStringLiteral("archiwum ma za dużo plików"));

    QSet<QString> names;
    qint64 unpacked = 0;
    for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
        const char* rawName = zip_get_name(archive.get(), index, 0);
        if (!rawName)
            fail(archivePath, archive.get());
        QString name = QString::fromUtf8(rawName);
        const bool isFolder = name.endsWith(u'/');
        if (isFolder)
            name.chop(1);
        const unsigned int type = unixFileType(archive.get(), index, archivePath);
        if (!staysInside(name) || (type != 0 && type != (isFolder ? S_IFDIR : S_IFREG)))
            throw FileError(archivePath,
                            QStringLiteral("archiwum zawiera niedozwolony wpis: %1").arg(name));
        if (names.contains(name))
            throw FileError(archivePath,
                            QStringLiteral("wpis występuje w archiwum dwa razy: %1").arg(name));
        names.insert(name);

        const QString target = folder + u'/' + name;
        if (!isFolder)
            unpacked += unpackEntry(archive.get(), index, archivePath, target,
                                    std::min(maxUnpackedEntryBytes, maxUnpackedBytes - unpacked));
        else if (errno = 0; !QDir().mkpath(target))
            throw FileError(target, errno);
    }
}

void zipItem(const QString& folder, const QString& archivePath, const std::stop_token& stop) {
    int code = 0;
    Archive archive(
        zip_open(QFile::encodeName(archivePath).constData(), ZIP_CREATE | ZIP_TRUNCATE, &code));
    if (!archive) {
        Error error;
        zip_error_init_with_code(&error, code);
        fail(archivePath, &error);
    }
    for (const QString& file : relativeFiles(folder)) {
        const QByteArray source = QFile::encodeName(folder + u'/' + file);
        zip_source_t* contents = zip_source_file(archive.get(), source.constData(), 0, -1);
        const zip_int64_t index = contents ? zip_file_add(archive.get(), file.toUtf8().constData(),
                                                          contents, ZIP_FL_ENC_UTF_8)
                                           : -1;
        if (index < 0) {
            zip_source_free(contents);
            fail(archivePath, archive.get());
        }
        if (zip_set_file_compression(archive.get(), static_cast<zip_uint64_t>(index), ZIP_CM_STORE,
                                     0) != 0)
            fail(archivePath, archive.get());
    }
    zip_register_cancel_callback_with_state(archive.get(), isStopRequested, nullptr,
                                            const_cast<std::stop_token*>(&stop));
    if (zip_close(archive.get()) != 0) {
        if (stop.stop_requested())
            throw Cancelled();
        fail(archivePath, archive.get());
    }
    archive.release(); // zip_close() has freed it // NOLINT(bugprone-unused-return-value)
}

} // namespace kopertal
