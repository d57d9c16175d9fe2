#include "app/printing/PrintError.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <filesystem>

namespace kopertal {
namespace {

/// A start of LibreOffice with a new profile, and ten pages as a document and as a PDF file, take
/// about half of this.
constexpr std::uintmax_t leastRoom = 4 * 1024 * 1024;

QString withDetails(const QString& message, const QString& details) {
    return details.isEmpty() ? message : message + QStringLiteral("\n\nSzczegóły: %1").arg(details);
}

/// Asks the file system itself: a list of mounts may not know the folder's, in a container.
bool hasRoom(const QString& folder) {
    std::error_code error;
    const auto room = std::filesystem::space(QFile::encodeName(folder).toStdString(), error);
    return !error && room.available >= leastRoom;
}

} // namespace

PrintError::PrintError(const QString& message, const QString& details)
    : std::runtime_error(withDetails(message, details).toStdString()) {
}

PrintError temporaryFolderError(const QString& details) {
    const QString named = qEnvironmentVariable("TMPDIR", QStringLiteral("/tmp"));
    return PrintError(QStringLiteral("W folderze plików tymczasowych %1 nie można zapisać stron do "
                                     "druku. Zwolnij w nim miejsce i spróbuj jeszcze raz.")
                          .arg(named),
                      details);
}

PrintError workError(const QString& message, const QString& details, const QString& folder) {
    const QRegularExpression within(QStringLiteral("(file://)?%1/[0-9a-f-]{36}(/|\\b)")
                                        .arg(QRegularExpression::escape(QFileInfo(folder).path())));
    const QString shown = QString(details).remove(within);
    return hasRoom(folder) ? PrintError(message, shown) : temporaryFolderError(shown);
}

} // namespace kopertal
