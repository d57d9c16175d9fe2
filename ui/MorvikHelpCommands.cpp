#include "ui/MorvikHelpCommands.h"

#include "ui/MorvikHelpWindow.h"
#include "ui/OpenAddress.h"

#include <QMenu>
#include <QUrl>

namespace morvik {
namespace {

constexpr int helpWidth = 600;
constexpr int helpHeight = 700;

void addLink(QMenu* menu, const QString& title, const QString& address) {
    menu->addAction(title, menu, [address] { openAddress(address); });
}

} // namespace

QString queryEncoded(const QString& text) {
    if (!text.isValidUtf16())
        return text;
    return QString::fromLatin1(QUrl::toPercentEncoding(text, "!$&'()*+,;=:@/?"));
}

QString reportAddress(const QString& appName, const QString& email) {
    return QStringLiteral("mailto:") + email + QStringLiteral("?subject=") + queryEncoded(appName) +
           QStringLiteral("%20-%20zg%C5%82oszenie");
}

void MorvikHelpWindowCommand::addTo(QMenu* menu) const {
    const QString title = appName + QStringLiteral(" — pomoc");
    QAction* help = menu->addAction(title, menu, [title, content = helpContent] {
        MorvikHelpWindow::show(title, helpWidth, helpHeight, content);
    });
    help->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::Key_Question), QKeySequence(QKeySequence::HelpContents)});
    help->setShortcutContext(Qt::ApplicationShortcut);
    addLink(menu, appName + QStringLiteral(" — zgłoś błąd"), reportAddress(appName, email));
    menu->addSeparator();
}

void MorvikHelpCommands::addTo(QMenu* menu) const {
    addLink(menu, appName + QStringLiteral(" — pomoc programu"), helpURL);
    menu->addSeparator();
    if (rateURL)
        addLink(menu, QStringLiteral("Oceń program ") + appName, *rateURL);
    if (termsURL || privacyURL)
        menu->addSeparator();
    if (termsURL)
        addLink(menu, QStringLiteral("Warunki korzystania"), *termsURL);
    if (privacyURL)
        addLink(menu, QStringLiteral("Polityka prywatności"), *privacyURL);
}

} // namespace morvik
