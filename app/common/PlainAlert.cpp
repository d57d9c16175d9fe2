#include "app/common/PlainAlert.h"

#include "ui/Fonts.h"
#include "ui/Icons.h"

#include <QLabel>
#include <QLayout>
#include <QMessageBox>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace kopertal {
namespace {

constexpr int iconSize = 40;
constexpr int padding = 20;
constexpr qsizetype longestWord = 30; // characters
constexpr QChar zeroWidthSpace(0x200B);

QString bounded(const QString& message) {
    const QString shown =
        message.first(std::min(message.size(), longestAlert)).section(u'\n', 0, mostAlertLines - 1);
    return shown.size() < message.size() ? shown + u'…' : message;
}

/// A label breaks its lines between words only: a longer word, a file's name as a rule, would be
/// cut at the alert's edge.
QString breakable(const QString& message) {
    QTextBoundaryFinder lines(QTextBoundaryFinder::Line, message);
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, message);
    QString result;
    for (qsizetype start = 0; start < message.size(); start = lines.position()) {
        if (lines.toNextBoundary() < 0)
            lines.toEnd();
        const qsizetype end = lines.position();
        if (end - start <= longestWord) {
            result += QStringView(message).sliced(start, end - start);
            continue;
        }
        characters.setPosition(start);
        qsizetype length = 0;
        for (qsizetype from = start; from < end; from = characters.position()) {
            if (characters.toNextBoundary() < 0)
                characters.toEnd();
            const auto character = QStringView(message).sliced(from, characters.position() - from);
            result += character;
            const bool isMark = character == u"." || character == u"_" || character == u"-";
            if (++length < longestWord && !isMark)
                continue;
            result += zeroWidthSpace;
            length = 0;
        }
    }
    return result;
}

} // namespace

QMessageBox* plainAlert(QWidget* window, const QString& title, const QString& message,
                        const QString& icon, const QColor& ink) {
    auto* alert = new QMessageBox(window);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setText(title);
    alert->setInformativeText(breakable(bounded(message)));
    alert->setIconPixmap(morvik::iconPixmap(icon, iconSize, ink, alert->devicePixelRatioF()));
    alert->setStandardButtons(QMessageBox::Ok);
    // The box's own text format does not reach the informative text.
    for (QLabel* label : alert->findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);
    if (auto* words = alert->findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel")))
        words->setAccessibleName(bounded(message)); // without what only breaks its lines
    if (auto* picture = alert->findChild<QLabel*>(QStringLiteral("qt_msgboxex_icon_label")))
        picture->setAccessibleName(title);
    if (auto* heading = alert->findChild<QLabel*>(QStringLiteral("qt_msgbox_label")))
        heading->setFont(morvik::headlineFont());
    alert->layout()->setContentsMargins(padding, padding, padding, padding);
    return alert;
}

} // namespace kopertal
