#pragma once

#include "app/addresses/AddressTextEditor.h"

#include <algorithm>

namespace kopertal::testing {

/// Whether the editor's running account of its recipients is what a fresh look at its text gives.
inline bool followsItsText(const AddressTextEditor& editor) {
    const QString text = editor.text();
    const auto isSame = [](const ParsedAddress& one, const ParsedAddress& other) {
        return one.name == other.name && one.lines == other.lines;
    };
    return std::ranges::equal(parseAddresses(text), editor.live().recipients(), isSame) &&
           editor.live().warnings() == skippedEntries(text);
}

} // namespace kopertal::testing
