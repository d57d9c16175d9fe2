#include "engine/TemplatePackage.h"

#include "engine/EngineError.h"
#include "engine/XmlTree.h"
#include "engine/ZipArchive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace kopertal {
namespace {

const auto mainDocumentPart = QStringLiteral("word/document.xml");
const auto contentTypesPart = QStringLiteral("[Content_Types].xml");

QByteArray readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw FileError(path, file.errorString());
    return file.readAll();
}

/// Hands the serialised tree to a file and remembers whether it all went in.
class FileWriter : public pugi::xml_writer {
public:
    explicit FileWriter(QFile& file) : m_file(file) {}

    void write(const void* data, size_t size) override {
        const auto count = static_cast<qint64>(size);
        m_isWhole = m_isWhole && m_file.write(static_cast<const char*>(data), count) == count;
    }

    bool isWhole() const { return m_isWhole; }

private:
    QFile& m_file;
    bool m_isWhole = true;
};

/// A folder cannot be replaced by renaming a file over it.
void removeFolderAt(const QString& path) {
    const QFileInfo info(path);
    if (info.isDir() && !info.isSymLink() && !QDir(path).removeRecursively())
        throw FileError(path, QStringLiteral("nie można usunąć folderu, który jest w tym miejscu"));
}

} // namespace

TemplatePackage::TemplatePackage(const QString& templatePath) {
    unzipItem(templatePath, m_folder.path());
    parseXml(readFile(m_folder.filePath(mainDocumentPart)), mainDocumentPart, m_document);
}

void TemplatePackage::save(const QString& outputPath, const std::stop_token& stop) {
    writeMainDocument();
    convertContentTypes();
    removeFolderAt(outputPath);
    zipItem(m_folder.path(), outputPath, stop);
}

void TemplatePackage::writeMainDocument() {
    QFile file(m_folder.filePath(mainDocumentPart));
    // File systems take a file that is emptied and written again for a precious one, and put it on
    // the disk when it is closed; this one will be gone before.
    file.remove();
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        throw FileError(file.fileName(), file.errorString());
    FileWriter writer(file);
    m_document.save(writer, " ", pugi::format_indent, pugi::encoding_utf8);
    if (!writer.isWhole() || !file.flush())
        throw FileError(file.fileName(), file.errorString());
}

void TemplatePackage::convertContentTypes() {
    QFile file(m_folder.filePath(contentTypesPart));
    if (!file.open(QIODevice::ReadWrite))
        return;
    QByteArray types = file.readAll();
    if (!types.isValidUtf8())
        return;
    types.replace("template.main+xml", "document.main+xml");
    if (!file.resize(0) || !file.seek(0) || file.write(types) != types.size() || !file.flush())
        throw FileError(file.fileName(), file.errorString());
}

} // namespace kopertal
