#include "app/addresses/CountLine.h"

namespace kopertal {
namespace {

QString countLine(qsizetype recipients, const QString& word, qsizetype pages) {
    return QStringLiteral("%1 %2  ·  %3 %4")
        .arg(QString::number(recipients), word, QString::number(pages),
             pages == 1 ? QStringLiteral("strona") : QStringLiteral("strony"));
}

} // namespace

QString previewCountLine(qsizetype recipients, qsizetype pages) {
    const bool isFew = recipients >= 2 && recipients <= 4;
    return countLine(recipients,
                     recipients == 1 ? QStringLiteral("adres")
                     : isFew         ? QStringLiteral("adresy")
                                     : QStringLiteral("adresów"),
                     pages);
}

QString successCountLine(qsizetype recipients, qsizetype pages) {
    return countLine(recipients,
                     recipients == 1 ? QStringLiteral("adres") : QStringLiteral("adresów"), pages);
}

} // namespace kopertal
