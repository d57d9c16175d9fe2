#pragma once

#include <QString>

namespace kopertal {

/// A number read from a photo, on its way to the register.
struct ScannedEntry {
    QString trackingNumber; ///< As cleanBarcode() gives it, never empty.
    QString name;           ///< Of the recipient; a photo does not tell it.
    bool operator==(const ScannedEntry&) const = default;
};

} // namespace kopertal
