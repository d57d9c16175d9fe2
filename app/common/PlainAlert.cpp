#include "app/common/PlainAlert.h"

#include "ui/Icons.h"

#include <QLabel>
#include <QMessageBox>

#include <algorithm>

namespace kopertal {
namespace {

constexpr int iconSize = 40;

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
    return alert;
}

} // namespace kopertal
