#include "engine/RegularFile.h"

#include "engine/EngineError.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kopertal {

void openRegular(QFile& file) {
    const QString path = file.fileName();
    if (path.startsWith(u':')) {
        if (!file.open(QIODevice::ReadOnly))
            throw FileError(path, file.errorString());
        return;
    }
    // What would wait for its other end is opened at once.
    const int descriptor =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        throw FileError(path, errno);
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
        !file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        close(descriptor);
        throw FileError(path, QStringLiteral("to nie jest plik"));
    }
}

} // namespace kopertal
