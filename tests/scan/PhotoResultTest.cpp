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
    void ordersCodesAsTheyAreRead() {
        const std::pair<QList<QPointF>, QStringList> cases[] = {
            {{}, {}},
            {{{0.1, 0.9}}, {"0"}},
            {{{0.5, 0.2}, {0.4, 0.9}, {0.6, 0.5}}, {"1", "2", "0"}}, // y grows upwards
            {{{0.9, 0.5}, {0.1, 0.4}, {0.5, 0.6}}, {"1", "2", "0"}},
            {{{0.25, 0.25}, {0.75, 0.75}}, {"1", "0"}}, // equal spreads read downwards
            {{{0.5, 0.5}, {0.5, 0.75}, {0.25, 0.5}, {0.5, 0.0}}, {"1", "0", "2", "3"}}};
        for (const auto& [centres, order] : cases) {
            QList<Barcode> found;
            for (const QPointF& centre : centres)
                found.append(code(QString::number(found.size()), centre));
            QCOMPARE(texts(inReadingOrder(found)), order);
        }
    }

    void cleansAndSorts() {
        const std::pair<QStringList, QStringList> cases[] = {
            {{"RR2", "0055", "RR1"}, {"0055", "RR1", "RR2"}},
            {{"A", "B", "A"}, {"A", "B"}},
            {{"a", "A"}, {"A", "a"}},
            {{"(00)99", "99", "x(00)99"}, {"99", "x(00)99"}},
            {{"\u001d0055\u001d77"}, {"005577"}},
            {{"(00)", "\u001d", " "}, {}},
            {{"\U0001F4E6", "\uFF21"}, {"\uFF21", "\U0001F4E6"}}};
        for (const auto& [read, numbers] : cases) {
            const PhotoResult result = toPhotoResult(codes(read));
            QCOMPARE(result.outcome, PhotoOutcome::numbers);
            QCOMPARE(texts(result.numbers), numbers);
            QList<ScannedEntry> entries;
            for (const QString& number : numbers)
                entries.append({number, {}});
            QCOMPARE(result.entries(), entries);
        }
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

    void refusesWhatIsNoAnswer() {
        for (QByteArray answer :
             {"", "Segmentation fault", "{'outcome':'none'}", "[]",
              "[{'outcome':'none'},{'outcome':'none'}]", "[{'outcome':'perhaps'}]",
              "[{'outcome':'none','numbers':[{'text':'1'}]}]",
              "[{'outcome':'numbers','numbers':[{'text':'\\u001b[2J'}]}]",
              "[{'outcome':'numbers','numbers':[{'text':''}]}]",
              "[{'outcome':'numbers','numbers':[{'text':'1'}"})
            QVERIFY2(!photoResultFromJson(answer.replace('\'', '"')), answer);
    }

    void refusesTooManyNumbers() {
        for (const int count : {10'000, 10'001}) {
            const QByteArray numbers = QByteArray(R"({"text":"1"},)").repeated(count).chopped(1);
            const auto result =
                photoResultFromJson(R"([{"outcome":"numbers","numbers":[)" + numbers + "]}]");
            QCOMPARE(result.has_value(), count == 10'000);
        }
    }
};

QTEST_GUILESS_MAIN(PhotoResultTest)
#include "PhotoResultTest.moc"
