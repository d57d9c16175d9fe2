#pragma once

#include <QObject>

class QAction;
class QMenu;

namespace kopertal {

class Updater;

/// Whether a check for updates can begin now, as the updater says.
class CheckForUpdatesViewModel : public QObject {
    Q_OBJECT

public:
    explicit CheckForUpdatesViewModel(const Updater& updater, QObject* parent = nullptr);

    bool canCheckForUpdates() const { return m_canCheck; }

Q_SIGNALS:
    void canCheckForUpdatesChanged(bool canCheck);

private:
    bool m_canCheck;
};

/// The menu item that checks for updates. It goes with its menu.
class CheckForUpdatesView : public QObject {
    Q_OBJECT

public:
    /// Adds the item to `menu` before `before` (at its end when that is null). `updater` outlives
    /// the menu.
    CheckForUpdatesView(Updater& updater, QMenu* menu, QAction* before);

private:
    CheckForUpdatesViewModel m_model;
};

} // namespace kopertal
