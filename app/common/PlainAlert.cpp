#include "app/common/PlainAlert.h"

#include "ui/Fonts.h"
#include "ui/Icons.h"

#include <QLabel>
#include <QLayout>
#include <QMessageBox>

#include <algorithm>

namespace kopertal {
namespace {

constexpr int iconSize = 40;
constexpr int padding = 20;

QString bounded(const QString& message) {
    const QString shown =
        message.first(std::min(message.size(), longestAlert)).section(u'\n', 0, mostAlertLines - 1);
    return shown.size() < message.size() ? shown + u'…' : message;
}

} // namespace

QMessageBox* plainAlert(QWidget* window, const QString& title, const QString& message,
                        const QString& icon, const QColor& ink) {
    auto* alert = new QMessageBox(window);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setText(title);
    alert->setInformativeText(bounded(message));
    alert->setIconPixmap(morvik::iconPixmap(icon, iconSize, ink, alert->devicePixelRatioF()));
    alert->setStandardButtons(QMessageBox::Ok);
    // The box's own text format does not reach the informative text.
    for (QLabel* label : alert->findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);
    if (auto* picture = alert->findChild<QLabel*>(QStringLiteral("qt_msgboxex_icon_label")))
        picture->setAccessibleName(title);
    if (auto* heading = alert->findChild<QLabel*>(QStringLiteral("qt_msgbox_label")))
        heading->setFont(morvik::headlineFont());
    alert->layout()->setContentsMargins(padding, padding, padding, padding);
    return alert;
}

} // namespace kopertal
