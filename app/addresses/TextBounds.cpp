#include "app/addresses/TextBounds.h"

#include <QLocale>

namespace kopertal {
namespace {

/// In thousands parted as Polish does.
QString number(qsizetype count) {
    return QLocale(QLocale::Polish).toString(static_cast<qlonglong>(count));
}

} // namespace

QString editorRefusal(QStringView text, qsizetype kept) {
    if (kept + text.size() > maxEditorText)
        return QStringLiteral("Tekst jest za duży: edytor mieści najwyżej %1 znaków. "
                              "Podziel listę adresów na mniejsze części.")
            .arg(number(maxEditorText));
    qsizetype start = 0;
    while (text.size() - start > maxEditorLine) {
        const qsizetype end = text.indexOf(u'\n', start);
        if (end < 0 || end - start > maxEditorLine)
            return QStringLiteral("W tekście jest wiersz dłuższy niż %1 znaków. "
                                  "To nie wygląda na listę adresów.")
                .arg(number(maxEditorLine));
        start = end + 1;
    }
    return {};
}

} // namespace kopertal
