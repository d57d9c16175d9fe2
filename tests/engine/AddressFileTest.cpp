#include "engine/AddressFile.h"

#include "engine/AddressParsing.h"
#include "engine/EngineError.h"

#include <QFile>
#include <QTest>

using namespace kopertal;

/// From the bytes of a file to its recipients.
class AddressFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decodesWhatSendersHave() {
        const QByteArray mark = "\xef\xbb\xbf";
        const std::pair<QByteArray, QString> cases[] = {
            {mark + "Żółć\n😀", "Żółć\n😀"},
            {"\x8cwi\xeaty \xb9\x9c\x9f", "Święty ąśź"},
            {"\xa6\xb1\x81", "Śą\u0081"}, // ISO 8859-2, for 0x81 has no meaning before
            {"\xc0\xaf", "ŔŻ"},           // an overlong sequence is not UTF-8
            {"a\r\nb\rc\r\r\nd\n\r", "a\nb\nc\n\nd\n\n"},
            {QByteArray("\xff\xfe\x41\0\r\0\n\0\x41\1", 10), "A\nŁ"},
            {QByteArray("\xfe\xff\1\x41", 4), "Ł"},
            {"", ""}};
        for (const auto& [bytes, text] : cases)
            QCOMPARE(decodeAddresses(bytes).value(), text);
    }

    void refusesWhatIsNoText() {
        QVERIFY(!decodeAddresses(QByteArray("a\0b", 3)));
        QFile unreadable("/proc/self/mem");
        QVERIFY(unreadable.open(QIODevice::ReadOnly));
        QVERIFY_THROWS_EXCEPTION(FileError, readAddresses(unreadable, "x"));
    }

    void splitsTextIntoRecipientsAndSkipped() {
        const struct {
            QString text;
            QStringList recipients; // "name|line|line"
            QStringList skipped;
        } cases[] = {{"\n \n\t\n", {}, {}},
                     {"A\n\n\n\nB\nC\n", {"B|C"}, {"A"}},
                     {"A\nB\n\nAnna\n\nA\nB\nC\nD\nE", {"A|B", "A|B|C|D|E"}, {"Anna"}},
                     {" \u00a0Jan  K\u2003\n\tB\tC ", {"Jan  K|B\tC"}, {}},
                     {"A\nB\n\u00a0\nC", {"A|B"}, {"C"}},
                     {"A\n\u200b", {"A|\u200b"}, {}}}; // other invisibles are text
        for (const auto& [text, recipients, skipped] : cases) {
            QStringList found;
            for (const ParsedAddress& address : parseAddresses(text))
                found << address.name + u'|' + address.lines.join(u'|');
            QCOMPARE(found, recipients);
            QCOMPARE(skippedEntries(text), skipped);
        }
    }

    void readsAVeryLargeText() {
        constexpr int recipients = 700'000; // what is not linear would take minutes
        const QByteArray block = "Jan\r\nul. A\r\n\r\n";
        const QString text = decodeAddresses(block.repeated(recipients)).value();
        QCOMPARE(text.size(), 11 * recipients);
        QCOMPARE(parseAddresses(text).size(), recipients);
    }
};

QTEST_APPLESS_MAIN(AddressFileTest)
#include "AddressFileTest.moc"
