#pragma once

#include <QStringView>

namespace kopertal {

/// Whether `c` is horizontal white space: the tab or a Unicode space separator (category Zs, so the
/// no-break space too). Line breaks are not.
bool isHorizontalSpace(QChar c);

/// `text` without horizontal white space at both ends. Unlike QString::trimmed() it keeps line
/// breaks. The view points into `text`.
QStringView trimmedHorizontally(QStringView text);

} // namespace kopertal
