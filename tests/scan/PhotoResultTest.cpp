#include "scan/PhotoResult.h"

#include <QTest>

using namespace kopertal;

class PhotoResultTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleansAndSorts() {
        const std::pair<QStringList, QStringList> cases[] = {
            {{"RR2", "0055", "RR1", "RR2"}, {"0055", "RR1", "RR2"}},
            {{"a", "(00)99", "99", "A", "\u001d0055\u001d77"}, {"005577", "99", "A", "a"}},
            {{"(00)", "\u001d", " "}, {}},
            {{"\U0001F4E6", "\uFF21"}, {"\uFF21", "\U0001F4E6"}}};
        for (const auto& [read, numbers] : cases) {
            QList<Barcode> codes;
            for (const QString& text : read)
                codes.append({text, "Code128", {}});
            const PhotoResult result = toPhotoResult(codes);
            QCOMPARE(result.outcome, PhotoOutcome::numbers);
            QStringList texts;
            for (const ScannedEntry& entry : result.entries())
                texts.append(entry.trackingNumber + entry.name);
            QCOMPARE(texts, numbers);
        }
    }

    void refusesWhatIsNoAnswer() {
        for (QByteArray answer :
             {"", "Segmentation fault", "[]", "[{'outcome':'none'},{'outcome':'none'}]",
              "[{'outcome':'perhaps'}]", "[{'outcome':'none','numbers':[{'text':'1'}]}]",
              "[{'outcome':'numbers','numbers':[{'text':'\\u001b[2J'}]}]",
              "[{'outcome':'numbers','numbers':[{'text':''}]}]"})
            QVERIFY2(!photoResultFromJson(answer.replace('\'', '"')), answer);
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
