#include "app/tracking/TableExport.h"

#include <QStringList>

#include <algorithm>

namespace kopertal {
namespace {

QList<QStringList> tableCells(const TrackingTableModel& model) {
    QList<QStringList> lines{{QStringLiteral("Lp."), QStringLiteral("Nr nadawczy"),
                              QStringLiteral("Status"), QStringLiteral("Data statusu"),
                              QStringLiteral("Ostatnia placówka"),
                              QStringLiteral("Adres placówki")}};
    for (int position = 0; position < model.rowCount(); ++position) {
        const TrackingRow& row = model.rowAt(position);
        const PlaceLines place = row.lastPlace.isEmpty() ? PlaceLines{} : placeLines(row.lastPlace);
        lines.append({QString::number(position + 1), row.trackingNumber, row.status,
                      row.sortableDate(), place.first, place.second});
    }
    return lines;
}

QString onOneLine(QString cell) {
    const auto breaks = [](QChar c) {
        return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
               c.category() == QChar::Separator_Paragraph;
    };
    std::replace_if(cell.begin(), cell.end(), breaks, QChar(u' '));
    return cell;
}

/// Spreadsheets skip blanks before they decide, and some take the wide forms for the plain ones.
bool looksLikeFormula(const QString& cell) {
    static const QString starts = QStringLiteral("=+-@＝＋－＠");
    const auto first = std::find_if(cell.begin(), cell.end(), [](QChar c) { return !c.isSpace(); });
    return first != cell.end() && starts.contains(*first);
}

/// Digits of which a spreadsheet's number would lose some: it holds 15, and no zeros before them.
bool isTooLongForNumber(const QString& cell) {
    constexpr qsizetype mostDigits = 15;
    const bool isDigits =
        std::all_of(cell.begin(), cell.end(), [](QChar c) { return c.isDigit(); });
    return isDigits && cell.size() > 1 && (cell.size() > mostDigits || cell.startsWith(u'0'));
}

QString quoted(const QString& cell) {
    QString text = onOneLine(cell);
    if (looksLikeFormula(text))
        text.prepend(u'\'');
    else if (isTooLongForNumber(text))
        text.prepend(u'\t');
    return u'"' + text.replace(u'"', QStringLiteral("\"\"")) + u'"';
}

} // namespace

QString tableAsText(const TrackingTableModel& model) {
    QString text;
    for (QStringList line : tableCells(model)) {
        std::transform(line.begin(), line.end(), line.begin(), onOneLine);
        text += line.join(u'\t') + u'\n';
    }
    return text;
}

QByteArray tableAsCsv(const TrackingTableModel& model) {
    QByteArray csv("\xEF\xBB\xBF");
    for (QStringList line : tableCells(model)) {
        std::transform(line.begin(), line.end(), line.begin(), quoted);
        csv += line.join(u';').toUtf8() + "\r\n";
    }
    return csv;
}

} // namespace kopertal
