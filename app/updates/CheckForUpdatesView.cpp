#include "app/updates/CheckForUpdatesView.h"

#include "app/updates/Updater.h"

#include <QMenu>

namespace kopertal {

CheckForUpdatesViewModel::CheckForUpdatesViewModel(const Updater& updater, QObject* parent)
    : QObject(parent), m_canCheck(updater.canCheckForUpdates()) {
    connect(&updater, &Updater::canCheckForUpdatesChanged, this, [this](bool canCheck) {
        m_canCheck = canCheck;
        Q_EMIT canCheckForUpdatesChanged(canCheck);
    });
}

CheckForUpdatesView::CheckForUpdatesView(Updater& updater, QMenu* menu, QAction* before)
    : QObject(menu), m_model(updater) {
    auto* action = new QAction(QStringLiteral("Sprawdź &aktualizacje…"), menu);
    action->setMenuRole(QAction::ApplicationSpecificRole);
    action->setEnabled(m_model.canCheckForUpdates());
    connect(action, &QAction::triggered, &updater, &Updater::checkForUpdates);
    connect(&m_model, &CheckForUpdatesViewModel::canCheckForUpdatesChanged, action,
            &QAction::setEnabled);
    menu->insertAction(before, action);
}

} // namespace kopertal
