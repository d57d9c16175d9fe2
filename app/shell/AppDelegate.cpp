#include "app/shell/AppDelegate.h"

namespace kopertal {

AppDelegate::AppDelegate(const PreferencesStore& store, const QString& registerKey,
                         UpdaterParts parts)
    : MorvikAppDelegate([store](const QString& key) { PreferencesStore(store).remove(key); }),
      m_updater(std::move(parts)) {
    cleanupKeys = {registerKey};
    m_updater.start();
    PreferencesStore(store).remove(registerKey);
}

} // namespace kopertal
