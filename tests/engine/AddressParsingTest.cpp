#include "engine/AddressParsing.h"

#include <QTest>

using namespace kopertal;

class AddressParsingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void splitsTextIntoRecipientsAndSkipped() {
        const struct {
            QString text;
            QStringList recipients; // "name|line|line"
            QStringList skipped;
        } cases[] = {{"", {}, {}},
                     {"\n \n\t\n", {}, {}},
                     {"A\nB", {"A|B"}, {}},
                     {"A", {}, {"A"}},
                     {"A\n\n\n\nB\nC\n", {"B|C"}, {"A"}},
                     {"A\nB\nC\nD\nE", {"A|B|C|D|E"}, {}},
                     {"A\nB\n\nAnna\n\nA\nB", {"A|B", "A|B"}, {"Anna"}},
                     {"  Jan  K  \n\tB\tC ", {"Jan  K|B\tC"}, {}},
                     {"\u00a0\u2003Jan\u202f\n\u3000B", {"Jan|B"}, {}},
                     {"A\nB\n\u00a0\nC", {"A|B"}, {"C"}},
                     {"A\n\u200b", {"A|\u200b"}, {}}, // other invisibles are text
                     {"A\n\r\nB", {"A|\r|B"}, {}}};
        for (const auto& [text, recipients, skipped] : cases) {
            QStringList found;
            for (const ParsedAddress& address : parseAddresses(text))
                found << address.name + u'|' + address.lines.join(u'|');
            QCOMPARE(found, recipients);
            QCOMPARE(skippedEntries(text), skipped);
        }
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
