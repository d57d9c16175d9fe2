#include "engine/TemplatePackage.h"

#include "engine/EngineError.h"
#include "engine/XmlTree.h"
#include "engine/ZipArchive.h"

#include <QDir>
#include <QFile>
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
    explicit FileWriter(NewFile& file) : m_file(file) {}

    void write(const void* data, size_t size) override {
        m_file.write(static_cast<const char*>(data), static_cast<qsizetype>(size));
    }

private:
    NewFile& m_file;
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

TemplatePackage::TemplatePackage(const QString& templatePath) {
    unzipItem(templatePath, m_folder.path());
    const QString path = m_folder.filePath(mainDocumentPart);
    parseXml(readFile(path), mainDocumentPart, m_document);
    // File systems take a file that is emptied and written again for a precious one, and put it on
    // the disk when it is closed; this one will be gone before.
    QFile::remove(path);
    m_mainDocument.emplace(path);
    if (const pugi::xml_node body = root().child("w:body"))
        m_frame = frameOf(m_document, body);
}

void TemplatePackage::writeBody() {
    constexpr unsigned int depth = 2;
    pugi::xml_node body = root().child("w:body");
    if (!body)
        return;
    FileWriter writer(*m_mainDocument);
    if (!std::exchange(m_isBegun, true))
        m_mainDocument->write(m_frame.before);
    for (const pugi::xml_node& child : body.children())
        child.print(writer, indentation, pugi::format_indent, pugi::encoding_utf8, depth);
    body.remove_children();
}

void TemplatePackage::save(const QString& outputPath, const std::stop_token& stop) {
    if (m_isBegun) {
        writeBody();
        m_mainDocument->write(m_frame.after);
    } else {
        FileWriter writer(*m_mainDocument);
        m_document.save(writer, indentation, pugi::format_indent, pugi::encoding_utf8);
    }
    m_mainDocument->close();
    convertContentTypes();
    removeFolderAt(outputPath);
    zipItem(m_folder.path(), outputPath, stop);
}

void TemplatePackage::convertContentTypes() {
    const QString path = m_folder.filePath(contentTypesPart);
    if (!QFileInfo(path).isFile())
        return;
    QByteArray types = readFile(path);
    if (!types.isValidUtf8())
        return;
    types.replace("template.main+xml", "document.main+xml");
    QFile::remove(path);
    NewFile file(path);
    file.write(types);
    file.close();
}

} // namespace kopertal
