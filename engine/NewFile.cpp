#include "engine/NewFile.h"

#include "engine/EngineError.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace kopertal {
namespace {

constexpr qsizetype pieceSize = 64LL * 1024;

} // namespace

NewFile::NewFile(const QString& path)
    : m_path(path),
      m_descriptor(open(QFile::encodeName(path).constData(),
                        O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
    if (m_descriptor < 0)
        throw FileError(m_path, errno);
}

NewFile::~NewFile() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void NewFile::write(const char* data, qsizetype size) {
    m_heldBack.append(data, size);
    if (m_heldBack.size() >= pieceSize)
        flush();
}

void NewFile::close() {
    flush();
    if (::close(std::exchange(m_descriptor, -1)) != 0)
        throw FileError(m_path, errno);
}

void NewFile::flush() {
    const char* rest = m_heldBack.constData();
    const char* const end = rest + m_heldBack.size();
    while (rest < end) {
        const ssize_t count = ::write(m_descriptor, rest, size_t(end - rest));
        if (count < 0 && errno != EINTR)
            throw FileError(m_path, errno);
        rest += std::max<ssize_t>(count, 0);
    }
    m_heldBack.resize(0);
}

} // namespace kopertal
