#include "scan/PhotoResult.h"

#include "scan/ReadingOrder.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace kopertal;

namespace {

Barcode code(const QString& text, QPointF centre = {0.5, 0.5}) {
    return {text, QStringLiteral("Code128"),
            QRectF(centre - QPointF(0.05, 0.01), QSizeF(0.1, 0.02))};
}

QStringList texts(const QList<Barcode>& codes) {
    QStringList result;
    for (const Barcode& each : codes)
        result.append(each.text);
    return result;
}

QList<Barcode> codes(const QStringList& texts) {
    QList<Barcode> result;
    for (const QString& text : texts)
        result.append(code(text));
    return result;
}

} // namespace

class PhotoResultTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ordersCodesAsTheyAreRead_data() {
        QTest::addColumn<QList<QPointF>>("centres");
        QTest::addColumn<QStringList>("order");
        QTest::newRow("none") << QList<QPointF>{} << QStringList{};
        QTest::newRow("one") << QList<QPointF>{{0.1, 0.9}} << QStringList{"0"};
        QTest::newRow("top to bottom: y grows upwards")
            << QList<QPointF>{{0.5, 0.2}, {0.4, 0.9}, {0.6, 0.5}} << QStringList{"1", "2", "0"};
        QTest::newRow("a row from left to right")
            << QList<QPointF>{{0.9, 0.5}, {0.1, 0.4}, {0.5, 0.6}} << QStringList{"1", "2", "0"};
        QTest::newRow("equal spreads read downwards")
            << QList<QPointF>{{0.25, 0.25}, {0.75, 0.75}} << QStringList{"1", "0"};
        QTest::newRow("equal heights keep their order")
            << QList<QPointF>{{0.5, 0.5}, {0.5, 0.75}, {0.25, 0.5}, {0.5, 0.0}}
            << QStringList{"1", "0", "2", "3"};
    }
    void ordersCodesAsTheyAreRead() {
        QFETCH(QList<QPointF>, centres);
        QFETCH(QStringList, order);
        QList<Barcode> found;
        for (const QPointF& centre : centres)
            found.append(code(QString::number(found.size()), centre));
        QCOMPARE(texts(inReadingOrder(found)), order);
    }

    void cleansAndSorts_data() {
        QTest::addColumn<QStringList>("read");
        QTest::addColumn<QStringList>("numbers");
        const QString group = QString(QChar(0x1d));
        QTest::newRow("sorted") << QStringList{"RR2", "0055", "RR1"}
                                << QStringList{"0055", "RR1", "RR2"};
        QTest::newRow("equal codes once") << QStringList{"A", "B", "A"} << QStringList{"A", "B"};
        QTest::newRow("case matters") << QStringList{"a", "A"} << QStringList{"A", "a"};
        QTest::newRow("bracketed prefix")
            << QStringList{"(00)99", "99", "x(00)99"} << QStringList{"99", "x(00)99"};
        QTest::newRow("group separators")
            << QStringList{group + "0055" + group + "77"} << QStringList{"005577"};
        QTest::newRow("nothing left") << QStringList{"(00)", group, " "} << QStringList{};
        QTest::newRow("beyond the first plane") << QStringList{u"\U0001F4E6"_qs, u"\uFF21"_qs}
                                                << QStringList{u"\uFF21"_qs, u"\U0001F4E6"_qs};
    }
    void cleansAndSorts() {
        QFETCH(QStringList, read);
        QFETCH(QStringList, numbers);
        const PhotoResult result = toPhotoResult(codes(read));
        QCOMPARE(result.outcome, PhotoOutcome::numbers);
        QCOMPARE(texts(result.numbers), numbers);
        QList<ScannedEntry> entries;
        for (const QString& number : numbers)
            entries.append({number, {}});
        QCOMPARE(result.entries(), entries);
    }

    void knowsAPhotoWithoutCodes() {
        QCOMPARE(toPhotoResult({}).outcome, PhotoOutcome::none);
        QCOMPARE(PhotoResult().outcome, PhotoOutcome::unreadable);
    }

    void travelsAsJson() {
        const PhotoResult sent = toPhotoResult({code("RR1", {0.25, 0.75}), code(u"żółć"_qs)});
        const QByteArray answer = QJsonDocument(QJsonArray{toJson("-", sent)}).toJson();
        const std::optional<PhotoResult> received = photoResultFromJson(answer);
        QVERIFY(received);
        QCOMPARE(received->outcome, PhotoOutcome::numbers);
        QCOMPARE(texts(received->numbers), texts(sent.numbers));
        QCOMPARE(received->numbers[0].format, QStringLiteral("Code128"));
        QCOMPARE(received->numbers[0].box, sent.numbers[0].box);
    }

    void refusesWhatIsNoAnswer_data() {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << QByteArray("Segmentation fault");
        QTest::newRow("an object") << QByteArray("{\"outcome\":\"none\"}");
        QTest::newRow("no photo") << QByteArray("[]");
        QTest::newRow("two photos")
            << QByteArray("[{\"outcome\":\"none\"},{\"outcome\":\"none\"}]");
        QTest::newRow("unknown outcome") << QByteArray("[{\"outcome\":\"perhaps\"}]");
        QTest::newRow("numbers in none")
            << QByteArray("[{\"outcome\":\"none\",\"numbers\":[{\"text\":\"1\"}]}]");
        QTest::newRow("not clean")
            << QByteArray("[{\"outcome\":\"numbers\",\"numbers\":[{\"text\":\"\\u001b[2J\"}]}]");
        QTest::newRow("empty number")
            << QByteArray("[{\"outcome\":\"numbers\",\"numbers\":[{\"text\":\"\"}]}]");
        QTest::newRow("cut off") << QByteArray(
            "[{\"outcome\":\"numbers\",\"numbers\":[{\"text\":\"1\"}");
    }
    void refusesWhatIsNoAnswer() {
        QFETCH(QByteArray, answer);
        QVERIFY(!photoResultFromJson(answer));
    }
};

QTEST_GUILESS_MAIN(PhotoResultTest)
#include "PhotoResultTest.moc"
