#include "ui/MorvikAboutCommand.h"

#include "ui/AboutPanel.h"
#include "ui/Icons.h"
#include "ui/Tones.h"

#include <QMenu>
#include <QPointer>

namespace morvik {

QAction* MorvikAboutCommand::insertInto(QMenu* menu, QAction* before) const {
    auto* action = new QAction(icon(QStringLiteral("info.circle"), Tones::label),
                               appName + QStringLiteral(" — informacje"), menu);
    action->setMenuRole(QAction::AboutRole);
    QObject::connect(action, &QAction::triggered, menu,
                     [command = *this, panel = QPointer<AboutPanel>()]() mutable {
                         if (!panel)
                             panel = new AboutPanel(command);
                         panel->present();
                     });
    menu->insertAction(before, action);
    return action;
}

} // namespace morvik
