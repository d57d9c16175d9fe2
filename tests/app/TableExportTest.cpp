#include "app/tracking/TableExport.h"

#include "tracking/TrackingNumber.h"

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
                     {"", "", "\t\t\t", "~~;~~;~~;~~"},
                     {"a\"b\tc", "p\nq\r\nr", "a\"b c\t\tp\tq  r", "~a~~b c~;~~;~p~;~q  r~"},
                     {"=cmd|' /C calc'!A0", "\t@A1\n-1", "=cmd|' /C calc'!A0\t\t @A1\t-1",
                      "~'=cmd|' /C calc'!A0~;~~;~' @A1~;~'-1~"},
                     {"＝1", "+48\n‐1", "＝1\t\t+48\t‐1", "~'＝1~;~~;~'+48~;~‐1~"}};
        for (const auto& [status, place, text, csv] : cases) {
            TrackingTableModel model;
            const QUuid id = QUuid::createUuid();
            model.setRows({{SentEntry{id, {}, {}, QStringLiteral("00990011223344556677")}, {}},
                           {SentEntry{QUuid::createUuid(), {}, {}, {}}, {}}});
            TrackingResult result;
            result.status = status;
            result.lastPlace = place;
            model.merge(id, result);
            model.sort(TrackingTableModel::trackingNumberColumn, Qt::DescendingOrder);
            QCOMPARE(tableAsText(model),
                     header.join(u'\t') + "\n1\t00990011223344556677\t" + text + "\n2\t\t\t\t\t\n");
            const QString lines = u'~' + header.join("~;~") + "~\r\n~1~;~\t00990011223344556677~;" +
                                  csv + "\r\n~2~;~~;~~;~~;~~;~~\r\n";
            QCOMPARE(QString::fromUtf8(tableAsCsv(model)).replace(u'"', u'~'), "\uFEFF" + lines);
        }
    }

    void numbersKeepTheirDigits() {
        const std::pair<const char*, bool> cases[] = {
            {"990011223344556677", true}, {"0123", true}, {"123456789012345", false},
            {"1234567890123456", true},   {"0", false},   {"RR123456785PL123456", false}};
        for (const auto& [number, isMarked] : cases) {
            TrackingTableModel model;
            model.setRows({{SentEntry{QUuid::createUuid(), {}, {}, number}, {}}});
            const QString line = QString::fromUtf8(tableAsCsv(model)).section(u'\n', 1, 1);
            const QString cell = line.section(u';', 1, 1);
            QCOMPARE(cleanBarcode(cell.mid(1, cell.size() - 2)), number); // what is pasted back
            QVERIFY2(cell.startsWith(QStringLiteral("\"\t")) == isMarked, number);
        }
    }
};

QTEST_GUILESS_MAIN(TableExportTest)
#include "TableExportTest.moc"
