#include "engine/TemplateLayout.h"

#include "engine/XmlTree.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace kopertal {
namespace {

constexpr size_t shapesInGrid = 20;
constexpr qint64 addressColumnX = 500'000;  // about 13.9 mm
constexpr qint64 pageNumberMinCY = 200'000; // about 5.6 mm

/// A decimal integer with at most one leading sign, and nothing else; otherwise 0.
qint64 geometryValue(pugi::xml_attribute attribute) {
    std::string_view text = attribute.value();
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    qint64 value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

pugi::xml_node transform(pugi::xml_node shape) {
    return shape.child("wps:spPr").child("a:xfrm");
}

} // namespace

qint64 shapeX(pugi::xml_node shape) {
    return geometryValue(transform(shape).child("a:off").attribute("x"));
}

qint64 shapeY(pugi::xml_node shape) {
    return geometryValue(transform(shape).child("a:off").attribute("y"));
}

qint64 shapeCY(pugi::xml_node shape) {
    return geometryValue(transform(shape).child("a:ext").attribute("cy"));
}

std::vector<TextboxGrid> findAllTextboxGrids(pugi::xml_node root) {
    std::vector<TextboxGrid> grids;
    for (const pugi::xml_node& group : descendants(root, "wpg:wgp")) {
        const std::vector<pugi::xml_node> shapes = descendants(group, "wps:wsp");
        if (shapes.size() != shapesInGrid)
            continue;
        TextboxGrid grid;
        for (const pugi::xml_node& shape : shapes)
            (shapeX(shape) < addressColumnX ? grid.nameShapes : grid.addressShapes)
                .push_back(shape);
        std::ranges::stable_sort(grid.nameShapes, {}, shapeY);
        std::ranges::stable_sort(grid.addressShapes, {}, shapeY);
        grids.push_back(std::move(grid));
    }
    return grids;
}

std::vector<SenderShapePair> findAllSenderShapePairs(pugi::xml_node root) {
    std::vector<pugi::xml_node> shapes = descendants(root, "wps:wsp");
    std::erase_if(shapes, [](pugi::xml_node shape) { return allText(shape).isEmpty(); });
    std::vector<SenderShapePair> pairs;
    for (size_t i = 0; i + 1 < shapes.size(); i += 2) {
        const pugi::xml_node first = shapes[i];
        const pugi::xml_node second = shapes[i + 1];
        if (shapeX(first) > shapeX(second))
            pairs.push_back({first, second});
        else
            pairs.push_back({second, first});
    }
    return pairs;
}

std::vector<pugi::xml_node> findAllPageNumberShapes(pugi::xml_node root) {
    std::vector<pugi::xml_node> shapes = descendantsOutside(root, "wps:wsp", "wpg:wgp");
    std::erase_if(shapes, [](pugi::xml_node shape) {
        return shapeCY(shape) < pageNumberMinCY || !allText(shape).isEmpty();
    });
    return shapes;
}

} // namespace kopertal
