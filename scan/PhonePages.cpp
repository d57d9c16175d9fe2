#include "scan/PhonePages.h"

#include <QFile>
#include <QString>

#include <stdexcept>

namespace kopertal {
namespace {

std::string embedded(const char* name) {
    QFile file(QStringLiteral(":/phone/") + QString::fromLatin1(name));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("The program lacks its page " + std::string(name));
    return file.readAll().toStdString();
}

} // namespace

PhoneDocuments phonePages() {
    return {embedded("scan.html"), embedded("pair.html"), embedded("manifest.json"),
            embedded("sw.js")};
}

} // namespace kopertal
