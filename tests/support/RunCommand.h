#pragma once

#include <QProcess>
#include <QStringList>

namespace kopertal::test {

struct CommandResult {
    int exitCode; ///< -1 when it did not end by itself.
    QString output;
    QString messages;
};

/// Runs a command to its end, with `input` for its standard input.
inline CommandResult
runCommand(const QString& program, const QStringList& arguments, const QByteArray& input = {},
           const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment(),
           const QString& folder = {}) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool hasEnded =
        process.waitForFinished(120'000) && process.exitStatus() == QProcess::NormalExit;
    return {hasEnded ? process.exitCode() : -1, QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace kopertal::test
