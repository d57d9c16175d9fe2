#include "app/printing/RegisterPieces.h"

#include "app/printing/PrintError.h"
#include "engine/EngineError.h"
#include "engine/RegisterDocument.h"
#include "engine/RegularFile.h"
#include "engine/XmlTree.h"
#include "engine/ZipArchive.h"

#include <QFile>
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace kopertal {
namespace {

const auto mainDocumentPart = QStringLiteral("word/document.xml");
const auto stylesPart = QStringLiteral("word/styles.xml");

/// What a filled box holds.
constexpr std::array<std::string_view, 14> boxed{
    "w:p", "w:pPr", "w:pStyle", "w:spacing", "w:r",  "w:rPr",  "w:rFonts",
    "w:b", "w:bCs", "w:sz",     "w:szCs",    "w:br", "w:lang", "w:t"};

void describe(pugi::xml_node node, int depth, std::string& outline) {
    outline += std::to_string(depth) + '<' + node.name();
    for (const pugi::xml_attribute attribute : node.attributes())
        outline += std::string(" ") + attribute.name() + '=' + attribute.value();
    outline += std::string(">") + node.value();
}

/// The outline of what lies below an element; the library's own traversal needs no stack.
class Outline : public pugi::xml_tree_walker {
public:
    Outline(std::string& outline, bool isPageBreakDue)
        : m_outline(outline), m_isPageBreakDue(isPageBreakDue) {}

    bool for_each(pugi::xml_node& node) override {
        const std::string_view name = node.name();
        if (m_box >= 0 && depth() > m_box)
            return belongsInBox(node);
        m_box = name == "w:txbxContent" ? depth() : -1;
        if (m_isPageBreakDue && depth() == 1 && name == "w:pageBreakBefore" &&
            !node.first_attribute())
            m_isPageBreakDue = false;
        else
            describe(node, depth(), m_outline);
        return true;
    }

private:
    static bool belongsInBox(pugi::xml_node node) {
        return node.type() != pugi::node_element ||
               (std::ranges::find(boxed, node.name()) != boxed.end() &&
                !node.attribute("w:type")); // of a break
    }

    std::string& m_outline;
    bool m_isPageBreakDue;
    int m_box = -1; // the depth of the box that is passed through
};

/// Adds the element's outline; false when there is something in a box that does not belong there.
bool addOutline(pugi::xml_node element, bool isPageBreakDue, std::string& outline) {
    describe(element, -1, outline);
    Outline walker(outline, isPageBreakDue);
    return element.traverse(walker);
}

bool breaksPage(pugi::xml_node element) {
    return isElement(element, "w:p") && element.child("w:pPr").child("w:pageBreakBefore");
}

/// Null for what is no such document.
pugi::xml_node parsedBody(pugi::xml_document& tree, const QByteArray& mainDocument) {
    const auto size = static_cast<size_t>(mainDocument.size());
    if (!tree.load_buffer(mainDocument.constData(), size, pugi::parse_default, pugi::encoding_utf8))
        return {};
    return tree.document_element().child("w:body");
}

QByteArray readPart(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void copyDocument(const QString& document, const QString& path) {
    constexpr qint64 chunkBytes = 1 << 20;
    const auto refuse = [&](const QString& reason) {
        throw PrintError(QStringLiteral("Nie można odczytać dokumentu %1.").arg(document), reason);
    };
    QFile source(document);
    try {
        openRegular(source);
    } catch (const FileError& error) {
        refuse(QString::fromUtf8(error.what()));
    }
    QFile copy(path);
    bool isWritten = copy.open(QIODevice::WriteOnly | QIODevice::NewOnly);
    for (QByteArray chunk; isWritten && !(chunk = source.read(chunkBytes)).isEmpty();)
        isWritten = copy.write(chunk) == chunk.size() && copy.flush();
    if (!isWritten)
        throw FileError(path, copy.errorString());
    if (source.error() != QFileDevice::NoError)
        refuse(source.errorString());
}

} // namespace

std::vector<qsizetype> pageBounds(const QByteArray& mainDocument, const QByteArray& form) {
    pugi::xml_document formTree;
    std::string formPage;
    std::string formSection;
    for (const pugi::xml_node element : parsedBody(formTree, form))
        addOutline(element, false, isElement(element, "w:sectPr") ? formSection : formPage);

    pugi::xml_document tree;
    const pugi::xml_node body = parsedBody(tree, mainDocument);
    const pugi::xml_node section = body.last_child();
    std::string outline;
    if (!isElement(section, "w:sectPr") || !addOutline(section, false, outline) ||
        outline != formSection)
        return {};

    std::vector<qsizetype> bounds;
    for (pugi::xml_node element = body.first_child(); element != section;
         element = element.next_sibling()) {
        const bool isBreak = !bounds.empty() && breaksPage(element);
        if (bounds.empty() || isBreak) {
            if (isBreak && outline != formPage)
                return {};
            bounds.push_back(element.offset_debug() - 1); // counts to the name, behind the "<"
            outline.clear();
        }
        if (!addOutline(element, isBreak, outline))
            return {};
    }
    if (bounds.empty() || outline != formPage)
        return {};
    bounds.push_back(section.offset_debug() - 1);
    return bounds;
}

RegisterPieces::RegisterPieces(const QString& document) : m_document(document) {
    const WorkFolder form;
    try {
        unzipItem(document, m_folder.path());
        unzipItem(QString(ownTemplate), form.path());
    } catch (const FileError&) {
        return; // whether the word processor can read it is its own affair
    }
    if (readPart(m_folder.filePath(stylesPart)) != readPart(form.filePath(stylesPart)))
        return;
    m_main = readPart(m_folder.filePath(mainDocumentPart));
    m_bounds = pageBounds(m_main, readPart(form.filePath(mainDocumentPart)));
}

int RegisterPieces::pages() const {
    return m_bounds.empty() ? 0 : static_cast<int>(m_bounds.size()) - 1;
}

int RegisterPieces::count() const {
    return std::max(1, (pages() + pagesPerPiece - 1) / pagesPerPiece);
}

int RegisterPieces::pagesOf(int piece) const {
    return std::min(pagesPerPiece, pages() - piece * pagesPerPiece);
}

void RegisterPieces::write(int piece, const QString& path, const std::stop_token& stop) {
    if (count() == 1) {
        copyDocument(m_document, path);
        return;
    }
    const auto first = static_cast<size_t>(piece) * pagesPerPiece;
    const qsizetype begin = m_bounds[first];
    const qsizetype end = m_bounds[first + static_cast<size_t>(pagesOf(piece))];
    QFile part(m_folder.filePath(mainDocumentPart));
    const QByteArray bytes = m_main.first(m_bounds.front()) + m_main.sliced(begin, end - begin) +
                             m_main.sliced(m_bounds.back());
    if (!part.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        part.write(bytes) != bytes.size() || !part.flush())
        throw FileError(part.fileName(), part.errorString());
    part.close();
    zipItem(m_folder.path(), path, stop);
}

} // namespace kopertal
