#pragma once

#include <QList>
#include <QStringView>

#include <optional>

namespace kopertal {

// Searches of an answer's text: literal and case-sensitive, without an XML parser, entities or
// trimming. A tag "a:b" also matches the start of a longer name. Time is linear in the text; the
// views returned point into it. Nothing means that there is no such element.

/// The content of the first element, unless it is empty, marked xsi:nil or has child elements.
std::optional<QStringView> extractTag(QStringView tag, QStringView xml);

/// The first element, both tags included; the first closing tag ends it.
std::optional<QStringView> extractFirstBlock(QStringView tag, QStringView xml);

/// Every such element, in the order of the text.
QList<QStringView> extractAllBlocks(QStringView tag, QStringView xml);

/// `xml` without every occurrence of `block`, an element that extractFirstBlock(tag, xml) found.
QString withoutBlock(QStringView tag, QStringView block, QStringView xml);

} // namespace kopertal
