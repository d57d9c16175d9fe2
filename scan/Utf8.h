#pragma once

#include <string_view>

namespace kopertal {

/// Whether the bytes are UTF-8 by RFC 3629: no overlong form, no surrogate, nothing above U+10FFFF
/// and nothing cut off at the end.
bool isUtf8(std::string_view bytes);

} // namespace kopertal
