#pragma once

#include <QByteArray>
#include <QString>
#include <pugixml.hpp>

#include <vector>

namespace kopertal {

/// Elements nested deeper than this are refused: a form needs about 30, and what copies, indents
/// and frees a tree must not be led into a depth of a million.
inline constexpr int maxXmlDepth = 256;

/// A larger part is refused; a form's page is about 50 kB.
inline constexpr qsizetype maxXmlBytes = 16LL * 1024 * 1024;

/// Parses a document part into `document`. No entity is loaded from anywhere: the document type is
/// dropped, its internal entities are expanded within bounds, external ones are left out. Comments,
/// processing instructions, the declaration and white space that is an element's only content are
/// kept. Throws EngineError::xmlParseError when there is no root element, FileError with `name` and
/// the parser's own words when the bytes are not well-formed or beyond the bounds, bad_alloc when
/// the memory is short (so does every later change of the tree).
void parseXml(const QByteArray& bytes, const QString& name, pugi::xml_document& document);

/// Every element at or below `element` with the qualified name, in document order.
std::vector<pugi::xml_node> descendants(pugi::xml_node element, const char* name);

/// As descendants(), without what lies below an element named `excluded`.
std::vector<pugi::xml_node> descendantsOutside(pugi::xml_node element, const char* name,
                                               const char* excluded);

/// The text of all "w:t" at or below `element`, joined and trimmed horizontally.
QString allText(pugi::xml_node element);

/// Whether the node is an element of that qualified name. Asked of every node of a register, most
/// of which differ in their first letters: no function is called for those.
inline bool isElement(pugi::xml_node node, const char* name) {
    const char* own = node.name();
    for (; *own && *own == *name; ++own)
        ++name;
    return *own == *name && node.type() == pugi::node_element;
}

} // namespace kopertal
