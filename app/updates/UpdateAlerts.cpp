#include "app/updates/UpdateAlerts.h"

#include "app/common/PlainAlert.h"
#include "app/updates/UpdateView.h"
#include "app/updates/Updater.h"
#include "ui/MorvikTheme.h"
#include "ui/OpenAddress.h"

#include <QMessageBox>

namespace kopertal {

UpdateAlerts::UpdateAlerts(Updater& updater, QWidget* window)
    : QObject(window), m_updater(updater), m_window(window) {
    connect(&updater, &Updater::updateFound, this, &UpdateAlerts::showUpdate);
    connect(&updater, &Updater::upToDate, this, [this] {
        tell(QStringLiteral("Masz najnowszą wersję."),
             QStringLiteral("Kopertal %1 to najnowsza dostępna wersja.").arg(m_updater.version()),
             QStringLiteral("checkmark.circle.fill"));
    });
    connect(&updater, &Updater::checkFailed, this, [this](const QString& message) {
        tell(QStringLiteral("Nie udało się sprawdzić aktualizacji."), message,
             QStringLiteral("exclamationmark.triangle.fill"));
    });
}

void UpdateAlerts::showUpdate(const Release& release, bool isAskedFor) {
    auto* view = new UpdateView(release, m_updater.version(), m_window);
    connect(view, &UpdateView::pageRequested, this,
            [page = release.page] { morvik::openAddress(QString::fromLatin1(page.toEncoded())); });
    connect(view, &UpdateView::skipRequested, this, [this, release] { m_updater.skip(release); });
    replaceDialog(view, isAskedFor);
}

void UpdateAlerts::tell(const QString& title, const QString& message, const QString& icon) {
    namespace Colors = morvik::MorvikTheme::Colors;
    const bool isGood = icon.startsWith(QStringLiteral("checkmark"));
    QMessageBox* box =
        plainAlert(m_window, title, message, icon, isGood ? Colors::success : Colors::error);
    box->setWindowTitle(QStringLiteral("Aktualizacje — Kopertal"));
    box->setWindowModality(Qt::NonModal);
    replaceDialog(box, true);
}

/// What the user did not ask for does not take the keyboard from what is being typed.
void UpdateAlerts::replaceDialog(QWidget* dialog, bool isAskedFor) {
    if (m_dialog)
        m_dialog->close();
    m_dialog = dialog;
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAttribute(Qt::WA_ShowWithoutActivating, !isAskedFor);
    dialog->show();
    if (isAskedFor)
        dialog->activateWindow();
}

} // namespace kopertal
