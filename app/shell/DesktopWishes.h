#pragma once

#include "app/settings/PreferencesStore.h"

#include <QObject>

namespace kopertal {

/// Has the interface follow what the user asked of the whole desktop: larger texts, less motion.
///
/// A display tells the text factor at once, but not Wayland's: there it comes from the desktop's
/// settings portal, for which the first window does not wait. So the factor of one run is kept for
/// the next.
class DesktopWishes : public QObject {
    Q_OBJECT

public:
    /// Sets the kept text factor; to be made before the first text is measured. `isDisplaySilent`
    /// when the display does not tell the factor.
    DesktopWishes(PreferencesStore store, bool isDisplaySilent);

    /// Asks the desktop, once the first window has had its time.
    void followLater();

private:
    void follow();

    PreferencesStore m_store;
    bool m_isDisplaySilent;
    double m_textFactor = 1;
};

} // namespace kopertal
