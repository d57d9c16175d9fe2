#include "engine/TemplatePackage.h"

#include "engine/EngineError.h"
#include "engine/XmlTree.h"
#include "engine/ZipArchive.h"

#include <QDir>
#include <QFileInfo>
#include <QUuid>

#include <sstream>
#include <utility>

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

constexpr const char* indentation = " ";

class FileWriter : public pugi::xml_writer {
public:
    explicit FileWriter(QFile& file) : m_file(file) {}

    void write(const void* data, size_t size) override {
        const auto count = static_cast<qint64>(size);
        if (m_file.write(static_cast<const char*>(data), count) != count)
            throw FileError(m_file.fileName(), m_file.errorString());
    }

private:
    QFile& m_file;
};

BodyFrame frameOf(const pugi::xml_document& document, pugi::xml_node body) {
    const QByteArray name = QUuid::createUuid().toByteArray();
    pugi::xml_node first = body.prepend_child(pugi::node_comment);
    pugi::xml_node last = body.append_child(pugi::node_comment);
    first.set_value(name.constData());
    last.set_value(name.constData());
    std::ostringstream stream;
    document.save(stream, indentation, pugi::format_indent, pugi::encoding_utf8);
    body.remove_child(first);
    body.remove_child(last);
    const QByteArray bytes = QByteArray::fromStdString(stream.str());
    // Nothing but the indentation stands before the first mark on its line, nothing behind the last
    // one; texts follow and precede a comment on the same line.
    const QByteArray mark = "<!--" + name + "-->";
    const qsizetype start = bytes.lastIndexOf('\n', bytes.indexOf(mark)) + 1;
    const qsizetype end = bytes.lastIndexOf(mark + '\n') + mark.size() + 1;
    return {bytes.first(start), bytes.sliced(end)};
}

/// A folder cannot be replaced by renaming a file over it.
void removeFolderAt(const QString& path) {
    const QFileInfo info(path);
    if (info.isDir() && !info.isSymLink() && !QDir(path).removeRecursively())
        throw FileError(path, QStringLiteral("nie można usunąć folderu, który jest w tym miejscu"));
}

} // namespace

TemplatePackage::TemplatePackage(const QString& templatePath)
    : m_mainDocument(m_folder.filePath(mainDocumentPart)) {
    unzipItem(templatePath, m_folder.path());
    parseXml(readFile(m_mainDocument.fileName()), mainDocumentPart, m_document);
    // File systems take a file that is emptied and written again for a precious one, and put it on
    // the disk when it is closed; this one will be gone before.
    m_mainDocument.remove();
    if (!m_mainDocument.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        throw FileError(m_mainDocument.fileName(), m_mainDocument.errorString());
    if (const pugi::xml_node body = root().child("w:body"))
        m_frame = frameOf(m_document, body);
}

void TemplatePackage::writeBody() {
    constexpr unsigned int depth = 2;
    pugi::xml_node body = root().child("w:body");
    if (!body)
        return;
    FileWriter writer(m_mainDocument);
    if (!std::exchange(m_isBegun, true))
        writer.write(m_frame.before.constData(), size_t(m_frame.before.size()));
    for (const pugi::xml_node& child : body.children())
        child.print(writer, indentation, pugi::format_indent, pugi::encoding_utf8, depth);
    body.remove_children();
}

void TemplatePackage::save(const QString& outputPath, const std::stop_token& stop) {
    FileWriter writer(m_mainDocument);
    if (m_isBegun) {
        writeBody();
        writer.write(m_frame.after.constData(), size_t(m_frame.after.size()));
    } else {
        m_document.save(writer, indentation, pugi::format_indent, pugi::encoding_utf8);
    }
    if (!m_mainDocument.flush())
        throw FileError(m_mainDocument.fileName(), m_mainDocument.errorString());
    m_mainDocument.close();
    convertContentTypes();
    removeFolderAt(outputPath);
    zipItem(m_folder.path(), outputPath, stop);
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
