#pragma once

#include <QString>

namespace kopertal {

/// A new folder below the system's temporary directory, named by a random UUID, that only the user
/// may enter (0700), and that is removed with everything in it when this object goes.
class WorkFolder {
public:
    /// Throws FileError when the folder cannot be created; then there is nothing to remove.
    WorkFolder();
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    const QString& path() const { return m_path; }
    QString filePath(const QString& relativePath) const { return m_path + u'/' + relativePath; }

private:
    QString m_path;
};

} // namespace kopertal
