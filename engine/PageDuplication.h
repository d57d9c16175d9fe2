#pragma once

#include <QtGlobal>
#include <pugixml.hpp>

#include <vector>

namespace kopertal {

/// The page that the body of a document holds: every element of it but section properties.
std::vector<pugi::xml_node> pageContent(pugi::xml_node body);

/// Appends exact copies of a page's elements to the body, identifiers too. The first paragraph
/// among them breaks the page.
void appendPage(pugi::xml_node body, const std::vector<pugi::xml_node>& page);

/// Repeats the page of the document's body until it stands `count` times, each repetition on a new
/// page. The first section properties go last; the fields of page k are the k-th of every search.
/// Without a body, or below a count of 2, nothing changes.
void duplicatePages(pugi::xml_node root, qsizetype count);

} // namespace kopertal
