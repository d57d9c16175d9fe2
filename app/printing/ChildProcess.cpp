#include "app/printing/ChildProcess.h"

#include "app/printing/PrintError.h"
#include "engine/EngineError.h"

#include <QDeadlineTimer>

#include <csignal>
#include <thread>
#include <unistd.h>

namespace kopertal {
namespace {

constexpr std::chrono::milliseconds glance{50};
constexpr std::chrono::milliseconds leaving{500}; // what a killed group may take to be gone
constexpr qsizetype longestReason = 600;
constexpr QLatin1String noJava("javaldx"); // LibreOffice warns of it where it does no harm

bool isAlive(pid_t group) {
    return kill(-group, 0) == 0;
}

} // namespace

ChildProcess::ChildProcess(const QString& program, const QStringList& arguments,
                           const QProcessEnvironment& environment) {
    m_process.setProcessEnvironment(environment);
    m_process.setStandardInputFile(QProcess::nullDevice());
    m_process.setChildProcessModifier([] { setpgid(0, 0); });
    m_process.start(program, arguments);
    if (m_process.waitForStarted())
        m_group = m_process.processId();
}

ChildProcess::~ChildProcess() {
    if (m_group == 0 || m_process.state() == QProcess::NotRunning)
        return;
    const auto group = static_cast<pid_t>(m_group);
    kill(-group, SIGKILL);
    m_process.waitForFinished();
    // Its children are not ours to wait for, and could still be in the midst of a write.
    for (const QDeadlineTimer end(leaving); isAlive(group) && !end.hasExpired();)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

bool ChildProcess::waitForEnd(std::chrono::milliseconds patience) {
    return m_process.state() == QProcess::NotRunning ||
           m_process.waitForFinished(static_cast<int>(patience.count()));
}

bool ChildProcess::isSuccess() const {
    return m_group != 0 && m_process.exitStatus() == QProcess::NormalExit &&
           m_process.exitCode() == 0;
}

QString ChildProcess::reason() {
    if (m_group == 0)
        return m_process.errorString();
    QStringList lines = QString::fromLocal8Bit(m_process.readAllStandardError()).split(u'\n');
    lines.removeIf([](const QString& line) { return line.contains(noJava); });
    const QString words = lines.join(u'\n').trimmed().right(longestReason);
    if (m_process.exitStatus() == QProcess::CrashExit)
        return words.isEmpty() ? QStringLiteral("program przerwał pracę")
                               : QStringLiteral("program przerwał pracę: %1").arg(words);
    return words.isEmpty() ? QStringLiteral("kod wyjścia %1").arg(m_process.exitCode()) : words;
}

void waitFor(ChildProcess& process, const QString& name, std::chrono::milliseconds limit,
             const std::stop_token& stop) {
    const QDeadlineTimer end(limit);
    while (!process.waitForEnd(glance)) {
        if (stop.stop_requested())
            throw Cancelled();
        if (end.hasExpired())
            throw PrintError(QStringLiteral("Program „%1” nie odpowiada.").arg(name));
    }
}

} // namespace kopertal
