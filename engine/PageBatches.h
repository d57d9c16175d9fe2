#pragma once

#include <QtGlobal>
#include <pugixml.hpp>

#include <vector>

namespace kopertal {

/// Repeats the page of a document's body as duplicatePages() does, but a batch of pages at a time:
/// so a register of any length takes the memory of a short one. When the fields of each batch are
/// filled in and its pages are taken out of the body, all find the same place as if the whole had
/// been repeated first.
class PageBatches {
public:
    /// Puts the first pages into the body.
    PageBatches(pugi::xml_node root, qsizetype count);

    /// Whether there are pages that the body has not got yet. Never where a field stands outside
    /// the page: it must not be found with every batch.
    bool hasNext() const { return m_left > 0; }

    /// Puts the next pages into the body, which has been emptied.
    void next();

private:
    pugi::xml_node m_body;
    std::vector<pugi::xml_node> m_page; // as the template has it; beside the root
    pugi::xml_node m_section;           // beside the root until the last batch
    qsizetype m_left;                   // pages
};

} // namespace kopertal
