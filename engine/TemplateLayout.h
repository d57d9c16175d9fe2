#pragma once

#include <QtGlobal>
#include <pugixml.hpp>

#include <vector>

namespace kopertal {

// Where a template's fields are, found by structure and geometry. A shape is a "wps:wsp", a group a
// "wpg:wgp". Lengths are EMU (36 000 to the millimetre); a shape in a group has the group's child
// coordinates. Nothing here changes the document or fails: what is not found is missing from the
// result.

/// The x and y of the shape's offset and the height of its extent; 0 where the document has none or
/// no decimal integer of 64 bits.
qint64 shapeX(pugi::xml_node shape);
qint64 shapeY(pugi::xml_node shape);
qint64 shapeCY(pugi::xml_node shape);

/// The boxes of one page's recipients. Row r is (nameShapes[r], addressShapes[r]), top to bottom;
/// the two columns together hold 20 shapes, not necessarily ten each.
struct TextboxGrid {
    std::vector<pugi::xml_node> nameShapes;
    std::vector<pugi::xml_node> addressShapes;
};

/// The boxes of one page's sender.
struct SenderShapePair {
    pugi::xml_node nameShape;
    pugi::xml_node addressShape;
};

/// Every group of exactly 20 shapes at any depth, in document order.
std::vector<TextboxGrid> findAllTextboxGrids(pugi::xml_node root);

/// The shapes that hold text, two by two in document order; the one further to the right is the
/// name's (the later one where both stand at the same x). To be called while only the sender's
/// boxes hold text.
std::vector<SenderShapePair> findAllSenderShapePairs(pugi::xml_node root);

/// The shapes outside every group that hold no text and are at least 200 000 EMU high, in document
/// order.
std::vector<pugi::xml_node> findAllPageNumberShapes(pugi::xml_node root);

} // namespace kopertal
