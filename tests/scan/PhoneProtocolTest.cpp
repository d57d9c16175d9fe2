#include "scan/PhoneProtocol.h"

#include "scan/PhonePages.h"
#include "scan/Utf8.h"

#include <QTest>

using namespace kopertal;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

const std::string badRequest =
    "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";

std::string headed(const char* type, const std::string& document) {
    return "HTTP/1.1 200 OK\r\nContent-Type: "s + type +
           "; charset=utf-8\r\nContent-Length: " + std::to_string(document.size()) +
           "\r\nConnection: close\r\n\r\n" + document;
}

} // namespace

class PhoneProtocolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void choosesTheAnswer_data() {
        QTest::addColumn<std::string>("request");
        QTest::addColumn<int>("answer"); // -1: closed without one
        const auto row = [](const std::string& request, int answer) {
            QTest::addRow("%s", QByteArray::fromStdString(request.substr(0, 40))
                                    .toPercentEncoding(" /:.")
                                    .constData())
                << request << answer;
        };
        const auto to = [&](const char* start, Answer answer) {
            row(start + " HTTP/1.1\r\nHost: x\r\n\r\n"s, static_cast<int>(answer));
        };
        to("GET /manifest.json", Answer::manifest);
        to("GET /manifest.jsonx", Answer::manifest);
        to("GET /sw.js", Answer::serviceWorker);
        to("GET /sw.json", Answer::serviceWorker);
        to("GET /ping", Answer::probe);
        to("GET /ping/../pair", Answer::probe);
        to("GET /", Answer::scanPage);
        to("GET /favicon.ico", Answer::scanPage);
        to("GET  /pair", Answer::scanPage);
        to("GET /Pair", Answer::scanPage);
        to("GETTING", Answer::scanPage);
        to("GET /pair", Answer::pairingPage);
        to("GET /pair?x=1", Answer::pairingPage);
        to("GET /pairing", Answer::pairingPage);
        to("get /", Answer::notFound);
        to(" GET /", Answer::notFound);
        to("HEAD /", Answer::notFound);
        to("PUT /upload", Answer::notFound);
        to("POST /other", Answer::notFound);
        to("POST /upload", Answer::badRequest);
        to("POST /uploads", Answer::badRequest);
        row("GET\r\n\r\n", static_cast<int>(Answer::scanPage));
        row("\r\n\r\n", static_cast<int>(Answer::notFound));
        row("GET /ping\r\n\r\nGET /pair HTTP/1.1\r\n\r\n", static_cast<int>(Answer::probe));
        row("\0GET /\r\n\r\n"s, static_cast<int>(Answer::notFound));
        row("GET /żółw\r\n\r\n", static_cast<int>(Answer::scanPage));
        row("GET /\xFF\r\n\r\n", -1);
        row("GET /ping\r\n\r\n\xFF", static_cast<int>(Answer::probe));
        row("", -1);
        row("GET /ping", -1);
        row("GET /ping\r\n\r", -1);
        row("GET /ping\n\n", -1);
        row(std::string(maxReadBytes, 'a'), -1);
        row("GET /" + std::string(maxReadBytes - 9, 'a') + "\r\n\r\n",
            static_cast<int>(Answer::scanPage));
    }

    void choosesTheAnswer() {
        QFETCH(std::string, request);
        QFETCH(int, answer);
        const Decision decision = decide(request);
        if (answer < 0)
            QVERIFY(std::holds_alternative<Drop>(decision));
        else
            QVERIFY(decision == Decision(static_cast<Answer>(answer)));
    }

    void readsTheDeclaredLength_data() {
        QTest::addColumn<std::string>("header");
        QTest::addColumn<int>("length"); // or minus the status it is refused with
        const auto row = [](const char* header, int length) {
            QTest::newRow(QByteArray(header).simplified().constData())
                << std::string(header) << length;
        };
        row("Content-Length: 5\r\nHost: x", 5);
        row("Host: x\r\nContent-Length: 5", 5); // the block's end ends the line
        row("content-length: 7\r\nHost: x", 7);
        row("content-length: 7\r\nContent-Length: 5\r\nHost: x", 5);
        row("X-Content-Length: 6\r\nHost: x", 6);
        row("Content-Length: +5\r\nHost: x", 5);
        row("Content-Length: 00000000000000000000000000000000005\r\nHost: x", 5);
        row("Content-Length: 1\r\nHost: x", 1);
        row("Content-Length: 52428800\r\nHost: x", 52428800);
        row("Content-Length: 52428801\r\nHost: x", -413);
        row("Content-Length: 4294967297\r\nHost: x", -413);
        row("Content-Length: 18446744073709551617\r\nHost: x", -413);
        for (const char* refused : {"X: Content-Length: 6, really\r\nContent-Length: 5\r\nHost: x",
                                    "CONTENT-LENGTH: 5\r\nHost: x",
                                    "Content-length: 5\r\nHost: x",
                                    "Content-Length:5\r\nHost: x",
                                    "Host: x\r\nHost: x",
                                    "Content-Length: \r\nHost: x",
                                    "Content-Length: ",
                                    "Content-Length: 5 \r\nHost: x",
                                    "Content-Length:  5\r\nHost: x",
                                    "Content-Length: 5\nX: y\r\nHost: x",
                                    "Content-Length: 0x5\r\nHost: x",
                                    "Content-Length: 5.0\r\nHost: x",
                                    "Content-Length: ٥\r\nHost: x",
                                    "Content-Length: +\r\nHost: x",
                                    "Content-Length: -\r\nHost: x",
                                    "Content-Length: +-5\r\nHost: x",
                                    "Content-Length: 0\r\nHost: x",
                                    "Content-Length: -0\r\nHost: x",
                                    "Content-Length: -5\r\nHost: x",
                                    "Content-Length: -99999999999999999999999999999\r\nHost: x",
                                    "Content-Length: 99999999999999999999999999999x\r\nHost: x"})
            row(refused, -400);
    }

    void readsTheDeclaredLength() {
        QFETCH(std::string, header);
        QFETCH(int, length);
        const std::string request = "POST /upload HTTP/1.1\r\n" + header + "\r\n\r\nab";
        const Decision decision = decide(request);
        if (length > 0)
            QVERIFY(decision == Decision(Upload{static_cast<std::size_t>(length), "ab"}));
        else
            QVERIFY(decision == Decision(length == -413 ? Answer::tooLarge : Answer::badRequest));
    }

    void answersByteForByte() {
        const PhoneDocuments documents{"ąb", "para", "{}", "'use'"};
        QCOMPARE(answerBytes(Answer::scanPage, documents), headed("text/html", "ąb"));
        QVERIFY(answerBytes(Answer::scanPage, documents).find("Length: 3\r\n") !=
                std::string::npos);
        QCOMPARE(answerBytes(Answer::pairingPage, documents), headed("text/html", "para"));
        QCOMPARE(answerBytes(Answer::manifest, documents),
                 headed("application/manifest+json", "{}"));
        QCOMPARE(answerBytes(Answer::serviceWorker, documents),
                 headed("application/javascript", "'use'"));
        QCOMPARE(answerBytes(Answer::probe, documents),
                 "HTTP/1.1 200 OK\r\nAccess-Control-Allow-Origin: *\r\nContent-Length: 2\r\n"
                 "Connection: close\r\n\r\nok"s);
        QCOMPARE(answerBytes(Answer::accepted, documents),
                 "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"s);
        QCOMPARE(answerBytes(Answer::badRequest, documents), badRequest);
        QCOMPARE(
            answerBytes(Answer::tooLarge, documents),
            "HTTP/1.1 413 Payload Too Large\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"s);
        QCOMPARE(answerBytes(Answer::notFound, documents),
                 "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"s);
    }

    void carriesTheDocuments() {
        const PhoneDocuments documents = phonePages();
        QCOMPARE(
            documents.manifest,
            R"({"name":"Kopertal","short_name":"Kopertal","start_url":"/",)"
            R"("display":"standalone","background_color":"#F5F6F8","theme_color":"#1B2A4A"})"s);
        for (const std::string& document :
             {documents.scanPage, documents.pairingPage, documents.serviceWorker}) {
            QVERIFY(document.size() > 500);
            QVERIFY(isUtf8(document));
            QVERIFY(document.find("_style@") == std::string::npos);
        }
    }

    void findsThePhoto_data() {
        QTest::addColumn<std::string>("body");
        QTest::addColumn<int>("start");
        QTest::newRow("empty") << ""s << 0;
        QTest::newRow("no marker") << "abc"s << 0;
        QTest::newRow("JPEG") << "\xFF\xD8\xFF"s << 0;
        QTest::newRow("after a preamble") << "--x\r\n\r\n\xFF\xD8\xFF"s << 7;
        QTest::newRow("the first of two") << "a\xFF\xD8\xFF\xD8"s << 1;
        QTest::newRow("half a marker first") << "\xFF\xFF\xD8"s << 1;
        QTest::newRow("half a marker last") << "abc\xFF"s << 0;
        QTest::newRow("PNG") << "ab\x89PNG\r\n"s << 2;
        QTest::newRow("PNG with a JPEG marker later") << "\x89PNG....\xFF\xD8.."s << 8;
        QTest::newRow("half a PNG signature") << "ab\x89PN"s << 0;
        QTest::newRow("with NUL bytes") << "\0\0\xFF\xD8"s << 2;
    }

    void findsThePhoto() {
        QFETCH(std::string, body);
        QTEST(static_cast<int>(photoStart(body)), "start");
    }

    void knowsUtf8_data() {
        QTest::addColumn<std::string>("bytes");
        QTest::addColumn<bool>("isValid");
        const auto row = [](const char* name, std::string_view bytes, bool isValid) {
            QTest::newRow(name) << std::string(bytes) << isValid;
        };
        row("nothing", ""sv, true);
        row("NUL", "\0"sv, true);
        row("last of each length", "\x7F\xDF\xBF\xEF\xBF\xBF\xF4\x8F\xBF\xBF"sv, true);
        row("first of each length", "\xC2\x80\xE0\xA0\x80\xF0\x90\x80\x80"sv, true);
        row("around the surrogates", "\xED\x9F\xBF\xEE\x80\x80"sv, true);
        row("surrogate", "\xED\xA0\x80"sv, false);
        row("overlong of two", "\xC1\xBF"sv, false);
        row("overlong of three", "\xE0\x9F\xBF"sv, false);
        row("overlong of four", "\xF0\x8F\xBF\xBF"sv, false);
        row("above the last", "\xF4\x90\x80\x80"sv, false);
        row("no such lead", "\xF5\x80\x80\x80"sv, false);
        row("lone trailing byte", "a\x80"sv, false);
        row("cut off", "\xE2\x82"sv, false);
        row("broken inside", "\xE2\x82x"sv, false);
        row("broken late", "\xF0\x9F\x98x"sv, false);
    }

    void knowsUtf8() {
        QFETCH(std::string, bytes);
        QTEST(isUtf8(bytes), "isValid");
    }
};

QTEST_APPLESS_MAIN(PhoneProtocolTest)
#include "PhoneProtocolTest.moc"
