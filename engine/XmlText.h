#pragma once

#include <QString>

namespace kopertal {

/// `text` without what XML 1.0 cannot hold: control characters other than tab, LF and CR, lone
/// surrogates, U+FFFE and U+FFFF. A document that holds one of them does not open.
QString xmlSafe(const QString& text);

} // namespace kopertal
