#pragma once

#include <QString>

namespace morvik {

/// `text` for a tooltip, which otherwise guesses whether a text is markup: shown as it stands, in
/// lines of readable length. At most 500 characters of it. Empty for an empty text.
QString plainToolTip(const QString& text);

} // namespace morvik
