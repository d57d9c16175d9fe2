#include "app/printing/RegisterPieces.h"
#include "tests/fuzz/FuzzTarget.h"

#include <pugixml.hpp>

#include <algorithm>

using namespace kopertal;

/// Any bytes as a register's main document: what is cut there is well formed again.
void feed(QByteArrayView input) {
    static const QByteArray form =
        "<w:document><w:body><w:p><w:pPr/><w:r><w:txbxContent><w:p/></w:txbxContent></w:r></w:p>"
        "<w:tbl w=\"1\"/><w:sectPr><w:pgSz/></w:sectPr></w:body></w:document>";
    const QByteArray document = input.toByteArray();
    const std::vector<qsizetype> bounds = pageBounds(document, form);
    if (bounds.empty())
        return;
    require(bounds.size() >= 2 && bounds.front() > 0 && bounds.back() < document.size(),
            "bounds lie in the document");
    require(std::ranges::adjacent_find(bounds, std::greater_equal<>()) == bounds.end(),
            "bounds ascend");
    for (std::size_t page = 0; page + 1 < bounds.size(); ++page) {
        const QByteArray piece = document.first(bounds.front()) +
                                 document.sliced(bounds[page], bounds[page + 1] - bounds[page]) +
                                 document.sliced(bounds.back());
        pugi::xml_document tree;
        require(tree.load_buffer(piece.constData(), static_cast<std::size_t>(piece.size()),
                                 pugi::parse_default, pugi::encoding_utf8),
                "a piece is well formed");
        require(page > 0 || pageBounds(piece, form).size() == 2, "the first one is a page");
    }
}
