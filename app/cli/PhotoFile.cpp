#include "app/cli/PhotoFile.h"

#include "scan/PhotoFormat.h"
#include "scan/ReceivedPhoto.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace kopertal {
namespace {

/// The ending of the image format that the bytes begin as; empty for none.
QString imageEnding(QByteArrayView bytes) {
    switch (photoFormat(bytes)) {
    case PhotoFormat::unknown:
        return {};
    case PhotoFormat::jpeg:
        return QStringLiteral(".jpg");
    case PhotoFormat::png:
        return QStringLiteral(".png");
    case PhotoFormat::webp:
        return QStringLiteral(".webp");
    case PhotoFormat::tiff:
        return QStringLiteral(".tiff");
    case PhotoFormat::bmp:
        return QStringLiteral(".bmp");
    case PhotoFormat::gif:
        return QStringLiteral(".gif");
    case PhotoFormat::heif:
        break;
    }
    return bytes.sliced(8).startsWith("avi") ? QStringLiteral(".avif") : QStringLiteral(".heic");
}

/// The usual reasons in the program's language, which the system need not have.
std::string reason(int error) {
    switch (error) {
    case ENOSPC:
        return "na dysku zabrakło miejsca";
    case EDQUOT:
        return "limit miejsca użytkownika na dysku został przekroczony";
    case EFBIG:
        return "plik byłby za duży";
    case EACCES:
    case EPERM:
        return "brak uprawnień do zapisu w folderze";
    case EROFS:
        return "dysk jest tylko do odczytu";
    case ENOENT:
    case ENOTDIR:
        return "folderu już nie ma";
    case EIO:
        return "błąd dysku";
    default:
        return std::generic_category().message(error);
    }
}

[[noreturn]] void fail() {
    throw std::runtime_error(reason(errno));
}

/// A file that is being written, gone when it did not become complete.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const QDir& folder)
        : m_path(QFile::encodeName(folder.absoluteFilePath(QStringLiteral(".kopertal-XXXXXX")))),
          m_descriptor(mkostemp(m_path.data(), O_CLOEXEC)) { // mode 0600
        if (m_descriptor < 0)
            fail();
    }
    ~UnfinishedFile() {
        close(m_descriptor);
        if (!m_isComplete)
            unlink(m_path.constData());
    }
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    void write(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = ::write(m_descriptor, bytes.data(), bytes.size());
            if (count >= 0)
                bytes.remove_prefix(static_cast<std::size_t>(count));
            else if (errno != EINTR)
                fail();
        }
        if (fsync(m_descriptor) != 0)
            fail();
    }

    /// False when `path` is taken.
    bool rename(const QByteArray& path) {
        int error =
            renameat2(AT_FDCWD, m_path.constData(), AT_FDCWD, path.constData(), RENAME_NOREPLACE);
        if (error != 0 && errno == EINVAL) { // not on this kind of disk
            error = link(m_path.constData(), path.constData());
            if (error == 0)
                unlink(m_path.constData());
        }
        if (error != 0 && errno != EEXIST)
            fail();
        m_isComplete = error == 0;
        return m_isComplete;
    }

private:
    QByteArray m_path;
    int m_descriptor;
    bool m_isComplete = false;
};

} // namespace

PhotoFile photoFile(const ReceivedPhoto& photo) {
    for (const std::string_view bytes : {photo.whole(), photo.photo()}) {
        if (const QString ending = imageEnding(bytes); !ending.isEmpty())
            return {bytes, ending};
    }
    return {photo.whole(), QStringLiteral(".bin")};
}

QString savePhoto(const ReceivedPhoto& photo, const QString& folder, const QDateTime& arrival) {
    const PhotoFile contents = photoFile(photo);
    const QDir target(folder);
    UnfinishedFile file(target);
    file.write(contents.bytes);
    const QString stem = target.absoluteFilePath(
        QStringLiteral("zdjecie_") + arrival.toString(QStringLiteral("yyyyMMdd_HHmmss")));
    QString path = stem + contents.ending;
    for (int k = 1; !file.rename(QFile::encodeName(path)); ++k)
        path = stem + u'_' + QString::number(k) + contents.ending;
    return path;
}

} // namespace kopertal
