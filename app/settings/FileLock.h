#pragma once

#include "net/Descriptor.h"

#include <QString>

#include <memory>

namespace kopertal {

/// A lock between processes on a file or folder, which the kernel opens when its process ends,
/// however it does. QLockFile's is a file with contents: a process that is killed before it has
/// written them leaves a lock that nobody can open.
class FileLock {
public:
    enum class Outcome {
        held,
        taken,      ///< By another process.
        impossible, ///< There is nothing to lock, or that disk has no locks.
    };

    /// Does not wait. Where nothing is at `path`, an empty file comes there, and stays.
    Outcome tryLock(const QString& path);
    void unlock() { m_file.reset(); }

private:
    std::unique_ptr<Descriptor> m_file;
};

} // namespace kopertal
