#pragma once

#include <QString>

namespace morvik {

/// Opens a web or mail address, percent-encoded, in the user's browser or mail program; what is no
/// valid address opens nothing.
void openAddress(const QString& address);

} // namespace morvik
