#pragma once

#include "app/updates/Updater.h"
#include "ui/MorvikAppDelegate.h"

namespace kopertal {

/// The application's start and end: the register of sent letters, which lives for one run, is
/// removed at both, and the updater starts with it.
class AppDelegate : public morvik::MorvikAppDelegate {
    Q_OBJECT

public:
    /// `registerKey` is the preference that holds the register.
    AppDelegate(const PreferencesStore& store, const QString& registerKey, UpdaterParts parts);

    Updater& updater() { return m_updater; }

private:
    Updater m_updater;
};

} // namespace kopertal
