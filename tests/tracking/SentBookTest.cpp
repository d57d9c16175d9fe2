#include "tracking/SentBookJson.h"

#include <QTest>

using namespace kopertal;

namespace {

const SentBook book{QUuid("{0a0b0c0d-1111-4222-8333-aabbccddeeff}"),
                    "2025-03",
                    {{QUuid("{f0e0d0c0-1111-4222-8333-aabbccddeeff}"), "Żółć", "'/\\\n", "00"}},
                    {3, -1}};
const QString stored =
    QString("{~date~:~2025-03~,~emailSentDays~:[3,-1],~entries~:[{~address~:~'\\/\\\\\\n~,"
            "~id~:~F0E0D0C0-1111-4222-8333-AABBCCDDEEFF~,~name~:~Żółć~,~trackingNumber~:~00~}],"
            "~id~:~0A0B0C0D-1111-4222-8333-AABBCCDDEEFF~}")
        .replace(u'~', u'"');

SentBook bookOf(const QString& date, const QString& number) {
    return {QUuid::createUuid(), date, {{QUuid::createUuid(), {}, {}, number}}, {}};
}

} // namespace

/// What is stored is read again as it was, whatever it holds: SentBookFuzz.
class SentBookTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isStoredAsCompactJson() {
        QCOMPARE(QString::fromUtf8(encodeSentBooks({book})), u'[' + stored + u']');
        QCOMPARE(encodeSentBooks({}), "[]");
        QCOMPARE(decodeSentBooks("[]"), QList<SentBook>());
        QString other = stored; // its keys in another order, and one that is unknown
        other.replace("\"date\":\"2025-03\",", "\"more\":{\"x\":[1]},");
        other.chop(1);
        other += ",\"date\":\"2025-03\"}";
        QCOMPARE(decodeSentBooks((u'[' + stored + u',' + other + u']').toUtf8()),
                 (QList<SentBook>{book, book}));
    }

    void anythingWrongMakesItUnreadable() {
        const std::pair<QString, QString> faults[] = {
            {"\"2025-03\"", "20250314"},  {R"("name":)", R"("other":)"},
            {R"("00")", "null"},          {R"("entries":[)", R"("entries":{},"x":[)"},
            {"[3,-1]", "[1.5]"},          {R"("entries":[)", R"("entries":["x",)"},
            {"[3,-1]", "[1e300]"},        {"EEFF\"", "EEF\""},
            {"0A0B0C0D-1", "0A0B0C0D1-"}, {"0A0B0C0D", "0A0B0C0G"},
            {"EEFF\"}", "EEFF\"}]"}};
        QStringList unreadable{"", stored, "null", QString(100'000, u'[')};
        for (const auto& [from, to] : faults) {
            QVERIFY2(stored.contains(from), qPrintable(from));
            // Beside a sound book: one fault spoils all.
            unreadable << u'[' + stored + u',' + QString(stored).replace(from, to) + u']';
        }
        for (const QString& json : unreadable)
            QVERIFY2(!decodeSentBooks(json.toUtf8()), qPrintable(json.right(400)));
        QVERIFY(!decodeSentBooks(encodeSentBooks({book}).replace("2025", "\xff")));
    }

    void entriesJoinTheFirstBookOfTheirDate() {
        QList<SentBook> books{bookOf("2025-03-14", "1"), bookOf("2025-03-14", "2")};
        books[0].emailSentDays = {5};
        QList<SentBook> expected = books;
        const SentBook more = bookOf("2025-03-14", "3");
        expected[0].entries += more.entries;
        mergeBook(books, more);
        QCOMPARE(books, expected);
        const SentBook another = bookOf("2025-3-14", "4");
        mergeBook(books, another);
        QCOMPARE(books, expected << another);
    }
};

QTEST_APPLESS_MAIN(SentBookTest)
#include "SentBookTest.moc"
