#include "engine/PageDuplication.h"

#include "engine/XmlTree.h"

namespace kopertal {
namespace {

void breakPageBefore(pugi::xml_node paragraph) {
    pugi::xml_node properties = paragraph.child("w:pPr");
    if (!properties)
        properties = paragraph.prepend_child("w:pPr");
    properties.append_child("w:pageBreakBefore");
}

} // namespace

std::vector<pugi::xml_node> pageContent(pugi::xml_node body) {
    std::vector<pugi::xml_node> page;
    for (const pugi::xml_node& child : body.children()) {
        if (child.type() == pugi::node_element && !isElement(child, "w:sectPr"))
            page.push_back(child);
    }
    return page;
}

void appendPage(pugi::xml_node body, const std::vector<pugi::xml_node>& page) {
    bool hasBreak = false;
    for (const pugi::xml_node& element : page) {
        const pugi::xml_node copy = body.append_copy(element);
        if (!hasBreak && isElement(copy, "w:p")) {
            breakPageBefore(copy);
            hasBreak = true;
        }
    }
}

void duplicatePages(pugi::xml_node root, qsizetype count) {
    pugi::xml_node body = root.child("w:body");
    if (count < 2 || !body)
        return;
    const std::vector<pugi::xml_node> page = pageContent(body);
    const pugi::xml_node section = body.child("w:sectPr");
    for (qsizetype repetition = 1; repetition < count; ++repetition)
        appendPage(body, page);
    if (section)
        body.append_move(section);
}

} // namespace kopertal
