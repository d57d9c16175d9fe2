#include "app/settings/FileLock.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

namespace kopertal {

FileLock::Outcome FileLock::tryLock(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    int file = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0 && errno == ENOENT)
        file = ::open(name.constData(), O_RDONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    m_file = std::make_unique<Descriptor>(file);
    if (file >= 0 && ::flock(file, LOCK_EX | LOCK_NB) == 0)
        return Outcome::held;
    const bool isTaken = file >= 0 && errno == EWOULDBLOCK;
    m_file.reset();
    return isTaken ? Outcome::taken : Outcome::impossible;
}

} // namespace kopertal
