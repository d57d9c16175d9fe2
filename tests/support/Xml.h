#pragma once

#include <QByteArray>
#include <pugixml.hpp>

#include <sstream>

namespace kopertal::test {

/// The node and what is below it, without any indentation.
inline QByteArray rawXml(pugi::xml_node node) {
    std::ostringstream stream;
    node.print(stream, "", pugi::format_raw);
    return QByteArray::fromStdString(stream.str());
}

} // namespace kopertal::test
