#pragma once

#include <QtGlobal>
#include <pugixml.hpp>

namespace kopertal {

/// Repeats the page that the body of a document holds until it stands `count` times, each
/// repetition on a new page: the first paragraph at its top level breaks the page. The page is
/// every element of the body but its section properties, which stay last; the copies are exact,
/// identifiers too, so the fields of page k are the k-th of every search. Without a body, or below
/// a count of 2, nothing changes.
void duplicatePages(pugi::xml_node root, qsizetype count);

} // namespace kopertal
