#include "tracking/TrackingNumber.h"

#include <QTest>

using namespace kopertal;

class TrackingNumberTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleans() {
        const std::pair<QString, QString> cases[] = {
            {" (00)990011223344556677\r\n", "990011223344556677"},
            {"(00)(01)2", "(01)2"}, // only the first prefix
            {"(٠٠)1", "1"},
            {"(00)", ""},
            {" \t\u00a0\u3000", ""},
            {"\u001d00\u00019\t9\u007f0\r\n1\u001f", "009901"}};
        for (const auto& [text, number] : cases)
            QCOMPARE(cleanBarcode(text), number);
        for (const QString clean :
             {"00990011223344556677", "abc(00)1", "(0a)1", "RR 123\u00a0456 PL"})
            QCOMPARE(cleanBarcode(clean), clean);
    }
};

QTEST_APPLESS_MAIN(TrackingNumberTest)
#include "TrackingNumberTest.moc"
