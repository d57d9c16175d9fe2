#include "engine/AddressParsing.h"

#include <QTest>

using namespace kopertal;

class AddressParsingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void splitsTextIntoRecipientsAndSkipped_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("recipients"); // "name|line|line"
        QTest::addColumn<QStringList>("skipped");

        const auto row = [](const char* name, const char* text, const QStringList& recipients,
                            const QStringList& skipped) {
            QTest::newRow(name) << QString::fromUtf8(text) << recipients << skipped;
        };
        row("empty", "", {}, {});
        row("blank lines only", "\n \n\t\n", {}, {});
        row("no final line feed", "A\nB", {"A|B"}, {});
        row("one line only", "A", {}, {"A"});
        row("separators count once", "A\n\n\n\nB\nC\n", {"B|C"}, {"A"});
        row("no upper limit", "A\nB\nC\nD\nE", {"A|B|C|D|E"}, {});
        row("one-line block between", "A\nB\n\nAnna\n\nA\nB", {"A|B", "A|B"}, {"Anna"});
        row("inner spaces stay", "  Jan  K  \n\tB\tC ", {"Jan  K|B\tC"}, {});
        row("every space separator is trimmed", "\u00a0\u2003Jan\u202f\n\u3000B", {"Jan|B"}, {});
        row("line of no-break spaces is blank", "A\nB\n\u00a0\nC", {"A|B"}, {"C"});
        row("other invisibles are text", "A\n\u200b", {"A|\u200b"}, {});
        row("a carriage return is text", "A\n\r\nB", {"A|\r|B"}, {});
    }

    void splitsTextIntoRecipientsAndSkipped() {
        QFETCH(QString, text);
        QFETCH(QStringList, recipients);
        QStringList found;
        for (const ParsedAddress& address : parseAddresses(text))
            found << address.name + u'|' + address.lines.join(u'|');
        QCOMPARE(found, recipients);
        QTEST(skippedEntries(text), "skipped");
    }

    void identifiersAreFreshAndWellFormed() {
        const QString text = QStringLiteral("A\nB\n\nA\nB");
        QSet<QUuid> ids;
        for (int parse = 0; parse < 50; ++parse) {
            for (const ParsedAddress& address : parseAddresses(text)) {
                QCOMPARE(address.id.version(), QUuid::Random);
                QCOMPARE(address.id.variant(), QUuid::DCE);
                ids.insert(address.id);
            }
        }
        QCOMPARE(ids.size(), 100);
    }

    void readsAVeryLargeText() {
        constexpr qsizetype recipients = 700'000; // about 50 MB in UTF-8
        const QString block =
            QStringLiteral("Łukasz Gąsiorowski z firmy\nulica Główna 5 m. 12\n80-831 Gdańsk\n\n");
        const QList<ParsedAddress> parsed = parseAddresses(block.repeated(recipients));
        QCOMPARE(parsed.size(), recipients);
        QCOMPARE(parsed.last().lines, QStringList({"ulica Główna 5 m. 12", "80-831 Gdańsk"}));
    }
};

QTEST_APPLESS_MAIN(AddressParsingTest)
#include "AddressParsingTest.moc"
