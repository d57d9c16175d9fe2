#include "app/printing/RegisterPieces.h"

#include "engine/EngineError.h"
#include "engine/XmlTree.h"
#include "engine/ZipArchive.h"

#include <QFile>
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <string_view>

namespace kopertal {
namespace {

const auto mainDocumentPart = QStringLiteral("word/document.xml");
const auto stylesPart = QStringLiteral("word/styles.xml");

/// What makes a page look different when the pages before it are missing.
constexpr std::array<std::string_view, 12> dependent{
    "w:fldSimple",        "w:instrText",        "w:numPr",           "w:footnoteReference",
    "w:endnoteReference", "w:commentReference", "w:headerReference", "w:footerReference",
    "w:lnNumType",        "w:pgBorders",        "w:altChunk",        "w:subDoc"};

/// Looks for what stands in the way of cutting; the library's own traversal needs no stack.
class Obstacle : public pugi::xml_tree_walker {
public:
    bool for_each(pugi::xml_node& node) override {
        const std::string_view name = node.name();
        m_sections += name == "w:sectPr" ? 1 : 0;
        isFound = m_sections > 1 || std::ranges::find(dependent, name) != dependent.end();
        return !isFound;
    }

    bool isFound = false;

private:
    int m_sections = 0;
};

bool breaksPage(pugi::xml_node element) {
    const pugi::xml_node mark = element.child("w:pPr").child("w:pageBreakBefore");
    const std::string_view value = mark.attribute("w:val").as_string("1");
    return mark && isElement(element, "w:p") && value != "0" && value != "false" && value != "off";
}

QByteArray readPart(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

std::vector<qsizetype> pageBounds(const QByteArray& mainDocument) {
    pugi::xml_document tree;
    const auto size = static_cast<size_t>(mainDocument.size());
    if (!tree.load_buffer(mainDocument.constData(), size, pugi::parse_default, pugi::encoding_utf8))
        return {};
    pugi::xml_node body = tree.document_element().child("w:body");
    const pugi::xml_node section = body.last_child();
    Obstacle obstacle;
    body.traverse(obstacle);
    if (obstacle.isFound || !isElement(section, "w:sectPr"))
        return {};

    std::vector<qsizetype> bounds;
    std::vector<std::string_view> form; // the elements of the first page
    std::vector<std::string_view> page;
    const auto isLikeFirst = [&] {
        if (bounds.size() == 1)
            form = page;
        return page == form;
    };
    for (pugi::xml_node element = body.first_child(); element != section;
         element = element.next_sibling()) {
        if (bounds.empty() || breaksPage(element)) {
            if (!bounds.empty() && !isLikeFirst())
                return {};
            bounds.push_back(element.offset_debug() - 1); // counts to the name, behind the "<"
            page.clear();
        }
        page.emplace_back(element.name());
    }
    if (bounds.empty() || !isLikeFirst())
        return {};
    bounds.push_back(section.offset_debug() - 1);
    return bounds;
}

RegisterPieces::RegisterPieces(const QString& document) : m_document(document) {
    try {
        unzipItem(document, m_folder.path());
    } catch (const FileError&) {
        return; // whether the word processor can read it is its own affair
    }
    // A style that numbers paragraphs does so without a trace in the main document.
    if (readPart(m_folder.filePath(stylesPart)).contains("<w:numPr"))
        return;
    m_main = readPart(m_folder.filePath(mainDocumentPart));
    m_bounds = pageBounds(m_main);
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
        QFile file(m_document);
        if (!file.copy(path))
            throw FileError(m_document, file.errorString());
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
