#include "app/tracking/TableExport.h"

#include "tracking/TrackingNumber.h"

#include <QTest>

using namespace kopertal;

class TableExportTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cellsHoldWhateverTheServiceSent_data() {
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("csv"); // with tildes for quotes
        const auto row = [](const char* name, const char* status, const char* place,
                            const char* text, const char* csv) {
            QTest::newRow(name) << QString::fromUtf8(status) << QString::fromUtf8(place)
                                << QString::fromUtf8(text)
                                << QString::fromUtf8(csv).replace(u'~', u'"');
        };
        row("two lines of a place are two columns", "Doręczono", "Łódź — UP 1\nKręta 1; m. 2",
            "Doręczono\t\tŁódź — UP 1\tKręta 1; m. 2",
            "~Doręczono~;~~;~Łódź — UP 1~;~Kręta 1; m. 2~");
        row("nothing is known", "", "", "\t\t\t", "~~;~~;~~;~~");
        row("quotes, tabs and more line ends", "a\"b\tc", "p\nq\r\nr", "a\"b c\t\tp\tq  r",
            "~a~~b c~;~~;~p~;~q  r~");
        row("formulas", "=cmd|' /C calc'!A0", "\t@A1\n-1", "=cmd|' /C calc'!A0\t\t @A1\t-1",
            "~'=cmd|' /C calc'!A0~;~~;~' @A1~;~'-1~");
        row("formulas in wide characters", "＝1", "+48\n‐1", "＝1\t\t+48\t‐1",
            "~'＝1~;~~;~'+48~;~‐1~");
    }

    void cellsHoldWhateverTheServiceSent() {
        QFETCH(QString, status);
        QFETCH(QString, place);
        QFETCH(QString, text);
        QFETCH(QString, csv);
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
                 QStringLiteral("Lp.\tNr nadawczy\tStatus\tData statusu\tOstatnia placówka\t"
                                "Adres placówki\n1\t00990011223344556677\t%1\n2\t\t\t\t\t\n")
                     .arg(text));
        QCOMPARE(tableAsCsv(model),
                 QStringLiteral("\uFEFF\"Lp.\";\"Nr nadawczy\";\"Status\";\"Data statusu\";"
                                "\"Ostatnia placówka\";\"Adres placówki\"\r\n"
                                "\"1\";\"\t00990011223344556677\";%1\r\n"
                                "\"2\";\"\";\"\";\"\";\"\";\"\"\r\n")
                     .arg(csv)
                     .toUtf8());
    }

    void numbersKeepTheirDigits_data() {
        QTest::addColumn<QString>("number");
        QTest::addColumn<bool>("isMarked");
        QTest::newRow("18 digits") << "990011223344556677" << true;
        QTest::newRow("a zero before") << "0123" << true;
        QTest::newRow("15 digits") << "123456789012345" << false;
        QTest::newRow("16 digits") << "1234567890123456" << true;
        QTest::newRow("zero") << "0" << false;
        QTest::newRow("letters too") << "RR123456785PL123456" << false;
    }
    void numbersKeepTheirDigits() {
        QFETCH(QString, number);
        TrackingTableModel model;
        model.setRows({{SentEntry{QUuid::createUuid(), {}, {}, number}, {}}});
        const QString line = QString::fromUtf8(tableAsCsv(model)).section(u'\n', 1, 1);
        const QString cell = line.section(u';', 1, 1);
        QCOMPARE(cleanBarcode(cell.mid(1, cell.size() - 2)), number); // what is pasted back
        QTEST(cell.startsWith(QStringLiteral("\"\t")), "isMarked");
    }
};

QTEST_GUILESS_MAIN(TableExportTest)
#include "TableExportTest.moc"
