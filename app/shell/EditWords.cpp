#include "app/shell/EditWords.h"

#include <QHash>

namespace kopertal {

QString EditWords::translate(const char* context, const char* source, const char*, int) const {
    static const QHash<QByteArrayView, QString> words{
        {"&Undo", QStringLiteral("&Cofnij")},
        {"&Redo", QStringLiteral("&Ponów")},
        {"Cu&t", QStringLiteral("Wy&tnij")},
        {"&Copy", QStringLiteral("&Kopiuj")},
        {"&Paste", QStringLiteral("Wk&lej")},
        {"Delete", QStringLiteral("&Usuń")},
        {"Select All", QStringLiteral("&Zaznacz wszystko")},
    };
    const QByteArrayView place(context);
    const bool isTextMenu = place == "QLineEdit" || place == "QWidgetTextControl";
    return isTextMenu ? words.value(source) : QString();
}

} // namespace kopertal
