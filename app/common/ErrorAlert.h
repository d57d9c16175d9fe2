#pragma once

#include <QString>

namespace kopertal {

/// Shows `message` in a modal alert titled "Błąd", over the program's window. Returns at once; any
/// thread.
void showError(const QString& message);

} // namespace kopertal
