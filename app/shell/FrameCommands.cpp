#include "app/shell/FrameCommands.h"

#include "app/help/HelpView.h"
#include "app/shell/FrameTexts.h"
#include "app/shell/MainWindow.h"
#include "app/updates/CheckForUpdatesView.h"
#include "app/updates/UpdateAlerts.h"
#include "ui/MorvikAboutCommand.h"
#include "ui/MorvikHelpCommands.h"

#include <QMenu>

namespace kopertal {
namespace {

QString orElse(const QString& text, const char* otherwise) {
    return text.isEmpty() ? QString::fromLatin1(otherwise) : text;
}

} // namespace

void addFrameCommands(MainWindow& window, Updater& updater, const FrameTexts& texts) {
    const auto name = QStringLiteral("Kopertal");
    QMenu* menu = window.applicationMenu();
    QAction* first = menu->actions().value(0);
    const morvik::MorvikAboutCommand about{name, orElse(texts.version, "1.1.0"),
                                           orElse(texts.buildNumber, "0"), texts.websiteLabel,
                                           texts.websiteURL};
    about.insertInto(menu, first);
    new CheckForUpdatesView(updater, menu, first);
    menu->insertSeparator(first);
    new UpdateAlerts(updater, &window);

    const morvik::MorvikHelpWindowCommand help{
        name, texts.supportEmail, [email = texts.supportEmail] { return new HelpView(email); }};
    help.addTo(window.helpMenu());
}

} // namespace kopertal
