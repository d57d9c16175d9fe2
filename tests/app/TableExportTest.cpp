#include "app/tracking/TableExport.h"

#include <QTest>

using namespace kopertal;

class TableExportTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cellsHoldWhateverTheServiceSent() {
        const QStringList header{"Lp.",          "Nr nadawczy",       "Status",
                                 "Data statusu", "Ostatnia placówka", "Adres placówki"};
        const struct {
            QString status, place, text, csv; // with tildes for quotes
        } cases[] = {{"Doręczono", "Łódź — UP 1\nKręta 1; m. 2",
                      "Doręczono\t\tŁódź — UP 1\tKręta 1; m. 2",
                      "~Doręczono~;~~;~Łódź — UP 1~;~Kręta 1; m. 2~"},
                     {"a\"b\tc", "p\nq\r\nr", "a\"b c\t\tp\tq  r", "~a~~b c~;~~;~p~;~q  r~"},
                     {"=cmd|' /C calc'!A0", "\t@A1\n-1", "=cmd|' /C calc'!A0\t\t @A1\t-1",
                      "~'=cmd|' /C calc'!A0~;~~;~' @A1~;~'-1~"},
                     {"＝1", "+48\n‐1", "＝1\t\t+48\t‐1", "~'＝1~;~~;~'+48~;~‐1~"}};
        for (const auto& [status, place, text, csv] : cases) {
            TrackingTableModel model;
            const QUuid id = QUuid::createUuid();
            model.setRows({{SentEntry{id, {}, {}, "00990011223344556677"}, {}}});
            TrackingResult result;
            result.status = status;
            result.lastPlace = place;
            model.merge(id, result);
            QCOMPARE(tableAsText(model),
                     header.join(u'\t') + "\n1\t00990011223344556677\t" + text + '\n');
            const QString lines =
                u'~' + header.join("~;~") + "~\r\n~1~;~\t00990011223344556677~;" + csv + "\r\n";
            QCOMPARE(QString::fromUtf8(tableAsCsv(model)).replace(u'"', u'~'), "\uFEFF" + lines);
        }
    }
};

QTEST_GUILESS_MAIN(TableExportTest)
#include "TableExportTest.moc"
