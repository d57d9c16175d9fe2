#include "tracking/TrackingNumber.h"

#include <QTest>

using namespace kopertal;

class TrackingNumberTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleans_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("number");
        const auto row = [](const char* name, QString text, const char* number) {
            QTest::newRow(name) << text << QString::fromUtf8(number);
        };
        row("as typed", " (00)990011223344556677\r\n", "990011223344556677");
        row("without a prefix", "00990011223344556677", "00990011223344556677");
        row("space after the prefix", "(00) 99001", "99001");
        row("prefix in the middle", "abc(00)1", "abc(00)1");
        row("only the first prefix", "(00)(01)2", "(01)2");
        row("prefix without digits", "()1", "()1");
        row("prefix with a letter", "(0a)1", "(0a)1");
        row("unclosed prefix", "(00", "(00");
        row("digits of another script", "(٠٠)1", "1");
        row("nothing but a prefix", "(00)", "");
        row("empty", "", "");
        row("spaces only", " \t\u00a0\u3000", "");
        row("every space separator at the ends", "\u00a0\u2003RR1\u202f\u205f", "RR1");
        row("spaces inside stay", "RR 123\u00a0456 PL", "RR 123\u00a0456 PL");
        row("controls anywhere", "\u001d00\u00019\t9\u007f0\r\n1\u001f", "009901");
        row("other invisibles stay", "\u200b1\u0085", "\u200b1\u0085");
        row("beyond the first plane", "\U0001F4E6(00)1", "\U0001F4E6(00)1");
    }

    void cleans() {
        QFETCH(QString, text);
        const QString number = cleanBarcode(text);
        QTEST(number, "number");
    }

    void isLinear() {
        const QString spaces(2'000'000, u' ');
        QCOMPARE(
            cleanBarcode(u'(' + QString(2'000'000, u'0') + u')' + spaces + u'1' + spaces + u'2'),
            u'1' + spaces + u'2');
    }
};

QTEST_APPLESS_MAIN(TrackingNumberTest)
#include "TrackingNumberTest.moc"
