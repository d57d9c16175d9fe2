#include "engine/WorkFolder.h"

#include "engine/EngineError.h"

#include <QDir>
#include <QFile>
#include <QUuid>

#include <cerrno>
#include <sys/stat.h>

namespace kopertal {
namespace {

/// QDir::tempPath() is empty, and so the current folder, where the one that the user names is
/// missing.
QString temporaryDirectory() {
    const QString named = qEnvironmentVariable("TMPDIR");
    return named.isEmpty() ? QStringLiteral("/tmp") : named;
}

} // namespace

WorkFolder::WorkFolder() {
    const QDir parent(temporaryDirectory());
    m_path = parent.absoluteFilePath(QUuid::createUuid().toString(QUuid::WithoutBraces));
    errno = 0;
    if (!parent.mkpath(QStringLiteral(".")) ||
        mkdir(QFile::encodeName(m_path).constData(), 0700) != 0)
        throw FileError(m_path, errno);
}

WorkFolder::~WorkFolder() {
    QDir(m_path).removeRecursively();
}

} // namespace kopertal
