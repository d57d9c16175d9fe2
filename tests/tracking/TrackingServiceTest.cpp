#include "tracking/TrackingService.h"

#include "tests/support/TrackingStandIn.h"

#include <QTest>

#include <memory>

using namespace kopertal;

class TrackingServiceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        m_standIn = std::make_unique<TrackingStandIn>();
        QVERIFY(m_standIn->isReady());
        HttpOptions options;
        options.userAgent = "Test/1";
        options.authorityFile = m_standIn->authority().toStdString();
        m_client = std::make_unique<HttpClient>(options);
    }

    void theRequestOnTheWire() {
        fetch("http", " (00)00990011223344556677\n");
        const QString host = m_standIn->address("http").section(u'/', 2, 2);
        const QByteArray body = envelopeOf("00990011223344556677");
        QCOMPARE(QString::fromUtf8(m_standIn->recorded()),
                 QString::fromUtf8("POST /service HTTP/1.1\r\n"
                                   "Host: " +
                                   host.toUtf8() +
                                   "\r\n"
                                   "User-Agent: Test/1\r\n"
                                   "Accept: */*\r\n"
                                   "Accept-Encoding: gzip, deflate\r\n"
                                   "Content-Type: text/xml; charset=utf-8\r\n"
                                   "SOAPAction: \"\"\r\n"
                                   "Content-Length: " +
                                   QByteArray::number(body.size()) + "\r\n\r\n" + body));
    }

    void numbersAreSentAsTheyAre() {
        for (const QString& number :
             {QStringLiteral("1</sled:numer><sled:numer a=\"b\">&lt;<!-- ]]>"),
              QStringLiteral("a&b;<"), QStringLiteral("%1%2%3\\n$0"),
              QStringLiteral("zażółć \U0001F4E6"), QString(2'000'000, u'9')}) {
            fetch("http", number);
            const QByteArray recorded = m_standIn->recorded();
            QVERIFY2(recorded.sliced(recorded.indexOf("\r\n\r\n") + 4) == envelopeOf(number),
                     qPrintable(number.first(5)));
        }
    }

    void longHistoriesAreRead() {
        const TrackingResult result = fetch("https", "huge");
        QCOMPARE(result.status, "Doręczono");
        QVERIFY(result.events.size() > 10'000);

        HttpOptions bounded;
        bounded.maxTotalBytes = 40'000'000; // for two at a time
        HttpClient client(bounded);
        const TrackingService service(client, accessTo("http"));
        QList<QFuture<TrackingResult>> results;
        for (int i = 0; i < 5; ++i) {
            results.append(service.fetch("flood"));
            QCOMPARE(results.last().result().events.size(), 200); // shortened
        }
    }

    void aClientThatGoesIsANetworkError() {
        auto client = std::make_unique<HttpClient>();
        const TrackingService service(*client, accessTo("http"));
        QFuture<TrackingResult> result = service.fetch("silent");
        client.reset();
        QCOMPARE(result.result().status, "Błąd sieci");
        QCOMPARE(result.result().lastEvent, "Przerwano.");
    }

private:
    TrackingAccess accessTo(const QString& listener) const {
        return {m_standIn->address(listener, "service"), "http://stand-in.test/?a&b", "guest",
                "secret"};
    }

    TrackingResult fetch(const QString& listener, const QString& number) {
        return TrackingService(*m_client, accessTo(listener)).fetch(number).result();
    }

    static QByteArray envelopeOf(const QString& number) {
        return QByteArray(
                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                   "<soapenv:Envelope xmlns:soapenv=\"http://schemas.xmlsoap.org/soap/envelope/\"\n"
                   "                  xmlns:sled=\"http://stand-in.test/?a&amp;b\">\n"
                   "  <soapenv:Header>\n"
                   "    <wsse:Security xmlns:wsse=\"http://docs.oasis-open.org/wss/2004/01/"
                   "oasis-200401-wss-wssecurity-secext-1.0.xsd\"\n"
                   "                   soapenv:mustUnderstand=\"1\">\n"
                   "      <wsse:UsernameToken>\n"
                   "        <wsse:Username>guest</wsse:Username>\n"
                   "        <wsse:Password Type=\"http://docs.oasis-open.org/wss/2004/01/"
                   "oasis-200401-wss-username-token-profile-1.0#PasswordText\">secret"
                   "</wsse:Password>\n"
                   "      </wsse:UsernameToken>\n"
                   "    </wsse:Security>\n"
                   "  </soapenv:Header>\n"
                   "  <soapenv:Body>\n"
                   "    <sled:sprawdzPrzesylkePl>\n"
                   "      <sled:numer>") +
               number.toUtf8() +
               "</sled:numer>\n"
               "    </sled:sprawdzPrzesylkePl>\n"
               "  </soapenv:Body>\n"
               "</soapenv:Envelope>";
    }

    std::unique_ptr<TrackingStandIn> m_standIn;
    std::unique_ptr<HttpClient> m_client;
};

QTEST_GUILESS_MAIN(TrackingServiceTest)
#include "TrackingServiceTest.moc"
