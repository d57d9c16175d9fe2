#pragma once

#include <QString>

class QAction;
class QMenu;

namespace morvik {

/// The menu item that tells what the program is.
struct MorvikAboutCommand {
    QString appName;
    QString appVersion;
    QString buildNumber;
    QString websiteLabel;
    QString websiteURL; ///< A valid address.

    /// Adds the item to `menu` before `before` (at its end when that is null). Choosing it shows
    /// the one About panel, or raises it.
    QAction* insertInto(QMenu* menu, QAction* before) const;
};

} // namespace morvik
