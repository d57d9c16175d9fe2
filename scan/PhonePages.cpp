#include "scan/PhonePages.h"

#include <QFile>
#include <QString>

namespace kopertal {
namespace {

std::string embedded(const char* name) {
    QFile file(QStringLiteral(":/phone/") + QString::fromLatin1(name));
    file.open(QIODevice::ReadOnly);
    return file.readAll().toStdString();
}

} // namespace

PhoneDocuments phonePages() {
    return {embedded("scan.html"), embedded("pair.html"), embedded("manifest.json"),
            embedded("sw.js")};
}

} // namespace kopertal
