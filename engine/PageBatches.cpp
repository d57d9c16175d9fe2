#include "engine/PageBatches.h"

#include "engine/PageDuplication.h"
#include "engine/XmlTree.h"

#include <algorithm>

namespace kopertal {
namespace {

// Some 3 MB as a tree. Even, for a sender's boxes are taken two by two, even across pages.
constexpr qsizetype batchSize = 16;

size_t countShapes(pugi::xml_node element) {
    return descendants(element, "wps:wsp").size();
}

/// Whether there is a field outside the page, which would be found again in every batch.
bool hasOtherFields(pugi::xml_node root, const std::vector<pugi::xml_node>& page) {
    size_t shapes = 0;
    for (const pugi::xml_node& element : page)
        shapes += countShapes(element);
    return shapes != countShapes(root);
}

} // namespace

PageBatches::PageBatches(pugi::xml_node root, qsizetype count)
    : m_body(root.child("w:body")), m_left(0) {
    const std::vector<pugi::xml_node> page = pageContent(m_body);
    if (!m_body || count <= batchSize || hasOtherFields(root, page)) {
        duplicatePages(root, count);
        return;
    }
    pugi::xml_node document = root.parent();
    pugi::xml_node shelf = document.append_child("shelf");
    for (const pugi::xml_node& element : page)
        m_page.push_back(shelf.append_copy(element));
    m_section = m_body.child("w:sectPr");
    duplicatePages(root, batchSize);
    if (m_section)
        m_section = document.append_move(m_section);
    m_left = count - batchSize;
}

void PageBatches::next() {
    const qsizetype count = std::min(m_left, batchSize);
    m_left -= count;
    for (qsizetype i = 0; i < count; ++i)
        appendPage(m_body, m_page);
    if (m_left == 0 && m_section)
        m_body.append_move(m_section);
}

} // namespace kopertal
