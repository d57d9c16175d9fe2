#include "ui/EmailHelper.h"

#include "ui/EmailPortal.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

namespace morvik::EmailHelper {
namespace {

void runXdgEmail(const QStringList& paths) {
    QStringList arguments;
    for (const QString& path : paths)
        arguments << QStringLiteral("--attach") << path;
    QProcess tool; // whose outputs nobody reads
    tool.setProgram(QStringLiteral("xdg-email"));
    tool.setArguments(arguments);
    tool.setStandardOutputFile(QProcess::nullDevice());
    tool.setStandardErrorFile(QProcess::nullDevice());
    tool.startDetached();
}

} // namespace

void sendViaEmail(const QList<QUrl>& files) {
    QStringList paths;
    for (const QUrl& file : files) {
        const QFileInfo info(file.toLocalFile());
        if (file.isLocalFile() && info.isFile() && info.isReadable())
            paths << info.absoluteFilePath(); // which no tool takes for an option
    }
    if (paths.isEmpty())
        return;
    auto* const request =
        new EmailPortalRequest([paths] { runXdgEmail(paths); }, QCoreApplication::instance());
    request->send(paths);
}

} // namespace morvik::EmailHelper
