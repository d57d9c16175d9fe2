#pragma once

#include <QProcess>

#include <chrono>
#include <stop_token>

namespace kopertal {

/// A program that is run for its result, in a process group of its own. Whatever it has started
/// itself ends with this object, which waits for that. Works without an event loop; for one thread.
class ChildProcess {
public:
    ChildProcess(const QString& program, const QStringList& arguments,
                 const QProcessEnvironment& environment);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Whether it has ended, within `patience`.
    bool waitForEnd(std::chrono::milliseconds patience);

    /// After its end: whether it went well, what it wrote, and why it did not go well, in the
    /// program's own last words where it had any.
    bool isSuccess() const;
    QByteArray output() { return m_process.readAllStandardOutput(); }
    QString reason();

private:
    QProcess m_process;
    qint64 m_group = 0;
};

/// Waits for the end. Throws Cancelled when `stop` is requested, PrintError when `limit` is over.
void waitFor(ChildProcess& process, const QString& name, std::chrono::milliseconds limit,
             const std::stop_token& stop);

} // namespace kopertal
