#include "engine/OutputPath.h"

#include <QFileInfo>

namespace kopertal {
namespace {

bool isTaken(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

QString registerFileName(QDate date) {
    return QStringLiteral("kopertal_") + date.toString(QStringLiteral("yyyyMMdd")) +
           QStringLiteral(".docx");
}

QString uniqueURL(const QString& base) {
    if (!isTaken(base))
        return base;
    const qsizetype nameStart = base.lastIndexOf(u'/') + 1;
    const qsizetype dot = base.lastIndexOf(u'.');
    const bool hasExtension = dot > nameStart && dot + 1 < base.size();
    const QString stem = hasExtension ? base.left(dot) : base;
    const QString extension = hasExtension ? base.mid(dot) : QString();
    for (int k = 1;; ++k) {
        const QString candidate = stem + u'_' + QString::number(k) + extension;
        if (!isTaken(candidate))
            return candidate;
    }
}

} // namespace kopertal
