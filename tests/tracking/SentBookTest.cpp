#include "tracking/SentBookJson.h"

#include <QTest>

using namespace kopertal;

namespace {

const QUuid bookId("{0a0b0c0d-1111-4222-8333-aabbccddeeff}");
const QUuid entryId("{f0e0d0c0-1111-4222-8333-aabbccddeeff}");
const QString validBook(
    R"({"emailSentDays":[3,-1],"entries":[{"trackingNumber":"1","name":"","id":"F0E0D0C0-1111-4222-8333-AABBCCDDEEFF","address":""}],"id":"0A0B0C0D-1111-4222-8333-AABBCCDDEEFF","date":"2025-03-14"})");

SentBook bookOf(const QString& date, const QStringList& numbers) {
    SentBook book{QUuid::createUuid(), date, {}, {}};
    for (const QString& number : numbers)
        book.entries.append({QUuid::createUuid(), {}, {}, number});
    return book;
}

QStringList numbersOf(const SentBook& book) {
    QStringList numbers;
    for (const SentEntry& entry : book.entries)
        numbers << entry.trackingNumber;
    return numbers;
}

} // namespace

class SentBookTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isStoredCompactlyWithUpperCaseIdentifiersAndEscapedSlashes() {
        const QList<SentBook> books{
            {bookId, "2025/03", {{entryId, "Żółć", "\"a\"\\/b\n", "00/1"}}, {3}}};
        const QByteArray json = encodeSentBooks(books);
        const QString expected = QStringLiteral(
            "[{'date':'2025\\/03','emailSentDays':[3],'entries':[{"
            "'address':'\\'a\\'\\\\\\/b\\n','id':'F0E0D0C0-1111-4222-8333-AABBCCDDEEFF',"
            "'name':'Żółć','trackingNumber':'00\\/1'}],"
            "'id':'0A0B0C0D-1111-4222-8333-AABBCCDDEEFF'}]");
        QCOMPARE(QString::fromUtf8(json), QString(expected).replace(u'\'', u'"'));
        QCOMPARE(decodeSentBooks(json), books);
        QCOMPARE(encodeSentBooks({}), "[]");
        QCOMPARE(decodeSentBooks("[]"), QList<SentBook>());
    }

    void readsKeysInAnyOrderAndPassesOverOthers() {
        const QList<SentBook> expected{{bookId, "2025-03-14", {{entryId, "", "", "1"}}, {3, -1}}};
        QCOMPARE(decodeSentBooks((u'[' + validBook + u']').toUtf8()), expected);
        QString more = validBook;
        more.replace(u"{\"emailSentDays\""_qs, u"{\"more\":{\"x\":[1]},\"emailSentDays\""_qs);
        QCOMPARE(decodeSentBooks((u'[' + more + u']').toUtf8()), expected);
    }

    void anythingWrongMakesItUnreadable() {
        QList<std::pair<QString, QString>> faults{
            {R"("2025-03-14")", "20250314"},
            {R"("trackingNumber":"1")", R"("trackingNumber":1)"},
            {R"("entries":[)", R"("entries":{},"x":[)"},
            {R"("entries":[)", R"("entries":["x",)"},
            {"[3,-1]", R"(["3"])"},
            {"[3,-1]", "[1.5]"},
            {"[3,-1]", "[true]"},
            {"[3,-1]", "[1e300]"},
            {"EEFF\"", "EEF\""},
            {R"("id":"F0E0D0C0-1111-4222-8333-AABBCCDDEEFF")",
             R"("id":"{F0E0D0C0-1111-4222-8333-AABBCCDDEEFF}")"},
            {"0A0B0C0D-1111-4222-8333-AABBCCDDEEFF", "0A0B0C0D111142228333AABBCCDDEEFF"},
            {"0A0B0C0D-1111-", "0A0B0C0D1-111-"},
            {"0A0B0C0D", "0A0B0C0G"},
            {"AABBCCDDEEFF\"", "AABBCCDDEEFF \""},
            {"{", ""},
            {"14\"}", "14\"}]"}};
        for (const QString key :
             {"id", "date", "entries", "emailSentDays", "name", "address", "trackingNumber"}) {
            const QString quoted = u'"' + key + "\":";
            faults.append({quoted, "\"other\":"});
            faults.append({quoted, quoted + "null,\"other\":"});
        }
        for (const auto& [from, to] : faults) {
            QString damaged = validBook;
            damaged.replace(from, to);
            QVERIFY(damaged != validBook);
            // Beside a sound book: one fault spoils all.
            const QString json = u'[' + validBook + u',' + damaged + u']';
            QVERIFY2(!decodeSentBooks(json.toUtf8()), qPrintable(damaged));
        }
        const QByteArray book = validBook.toUtf8();
        for (const QByteArray& json :
             {QByteArray(), book, QByteArray("null"), QByteArray(100'000, '['),
              QByteArray('[' + book + ']').replace("2025", "\xff")})
            QVERIFY2(!decodeSentBooks(json), json.first(qMin<qsizetype>(json.size(), 20)));
    }

    void entriesJoinTheFirstBookOfTheirDate() {
        QList<SentBook> books;
        mergeBook(books, bookOf("2025-03-14", {"1"}));
        mergeBook(books, bookOf("2025-03-14", {"2", "3"}));
        mergeBook(books, bookOf("2025-03-15", {"4"}));
        QCOMPARE(books.size(), 2);
        QCOMPARE(numbersOf(books[0]), QStringList({"1", "2", "3"}));
        QCOMPARE(numbersOf(books[1]), QStringList({"4"}));

        books[1].date = "2025-03-14"; // twice the same date
        books[0].emailSentDays = {5};
        const QUuid first = books[0].id;
        mergeBook(books, bookOf("2025-03-14", {"5"}));
        QCOMPARE(numbersOf(books[0]), QStringList({"1", "2", "3", "5"}));
        QCOMPARE(books[0].id, first);
        QCOMPARE(books[0].emailSentDays, QList<qint64>{5});
        QCOMPARE(numbersOf(books[1]), QStringList({"4"}));
        mergeBook(books, bookOf("2025-3-14", {"6"}));
        QCOMPARE(books.last().date, "2025-3-14");
    }
};

QTEST_APPLESS_MAIN(SentBookTest)
#include "SentBookTest.moc"
