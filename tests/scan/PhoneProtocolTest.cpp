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
    void choosesTheAnswer() {
        const std::pair<Answer, std::vector<std::string>> cases[] = {
            {Answer::manifest, {"GET /manifest.json", "GET /manifest.jsonx"}},
            {Answer::serviceWorker, {"GET /sw.js", "GET /sw.json"}},
            {Answer::probe,
             {"GET /ping", "GET /ping/../pair", "GET /ping\r\n\r\nGET /pair",
              "GET /ping\r\n\r\n\xFF"}},
            {Answer::scanPage,
             {"GET /", "GET /favicon.ico", "GET  /pair", "GET /Pair", "GETTING", "GET", "GET /żółw",
              "GET /" + std::string(maxReadBytes - 9, 'a')}},
            {Answer::pairingPage, {"GET /pair", "GET /pair?x=1", "GET /pairing"}},
            {Answer::notFound,
             {"", "get /", " GET /", "\0GET /"s, "HEAD /", "PUT /upload", "POST /other"}},
            {Answer::badRequest, {"POST /upload", "POST /uploads"}}};
        for (const auto& [answer, requests] : cases) {
            for (const std::string& request : requests) {
                const char* const name = request.size() < 100 ? request.c_str() : "a long one";
                QVERIFY2(decide(request + "\r\n\r\n") == Decision(answer), name);
                if (request.size() < 100)
                    QVERIFY2(decide(request + " HTTP/1.1\r\nHost: x\r\n\r\n") == Decision(answer),
                             name);
            }
        }
        for (const std::string& request : {""s, "GET /ping"s, "GET /ping\r\n\r"s, "GET /ping\n\n"s,
                                           "GET /\xFF\r\n\r\n"s, std::string(maxReadBytes, 'a')})
            QVERIFY(std::holds_alternative<Drop>(decide(request)));
    }

    void readsTheDeclaredLength() {
        const auto becomes = [](const std::string& header, const Decision& decision) {
            const std::string request = "POST /upload HTTP/1.1\r\n" + header + "\r\n\r\nab";
            return decide(request) == decision;
        };
        const std::pair<std::string, std::size_t> lengths[] = {
            {"Content-Length: 5\r\nHost: x", 5},
            {"Host: x\r\nContent-Length: 5", 5}, // the block's end ends the line
            {"content-length: 7\r\nHost: x", 7},
            {"content-length: 7\r\nContent-Length: 5\r\nHost: x", 5},
            {"X-Content-Length: 6\r\nHost: x", 6},
            {"Content-Length: +5\r\nHost: x", 5},
            {"Content-Length: 00000000000000000000000000000000005\r\nHost: x", 5},
            {"Content-Length: 1\r\nHost: x", 1},
            {"Content-Length: 52428800\r\nHost: x", 52428800}};
        for (const auto& [header, length] : lengths)
            QVERIFY2(becomes(header, Upload{length, "ab"}), header.c_str());
        for (const std::string length : {"52428801", "4294967297", "18446744073709551617"})
            QVERIFY2(becomes("Content-Length: " + length + "\r\nHost: x", Answer::tooLarge),
                     length.c_str());
        for (const char* value :
             {"", "5 ", " 5", "5\nX: y", "0x5", "5.0", "٥", "+", "-", "+-5", "0", "-0", "-5",
              "-99999999999999999999999999999", "99999999999999999999999999999x"})
            QVERIFY2(becomes("Content-Length: "s + value + "\r\nHost: x", Answer::badRequest),
                     value);
        for (const char* header :
             {"X: Content-Length: 6, really\r\nContent-Length: 5\r\nHost: x",
              "CONTENT-LENGTH: 5\r\nHost: x", "Content-length: 5\r\nHost: x",
              "Content-Length:5\r\nHost: x", "Host: x\r\nHost: x", "Content-Length: "})
            QVERIFY2(becomes(header, Answer::badRequest), header);
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
        for (const std::string& document :
             {documents.scanPage, documents.pairingPage, documents.serviceWorker}) {
            QVERIFY(document.size() > 500);
            QVERIFY(isUtf8(document));
            QVERIFY(document.find("_style@") == std::string::npos);
        }
    }

    void findsThePhoto() {
        for (const char* body : {"", "abc", "\xFF\xD8\xFF", "abc\xFF", "ab\x89PN"})
            QVERIFY2(photoStart(body) == 0, body);
        const std::pair<std::string, std::size_t> cases[] = {
            {"--x\r\n\r\n\xFF\xD8\xFF", 7}, {"a\xFF\xD8\xFF\xD8", 1},     {"\xFF\xFF\xD8", 1},
            {"ab\x89PNG\r\n", 2},           {"\x89PNG....\xFF\xD8..", 8}, {"\0\0\xFF\xD8"s, 2}};
        for (const auto& [body, start] : cases)
            QVERIFY2(photoStart(body) == start, body.c_str());
    }

    void knowsUtf8() {
        for (const std::string_view valid :
             {""sv, "\0"sv,
              "\x7F\xDF\xBF\xEF\xBF\xBF\xF4\x8F\xBF\xBF"sv, // the last of each length
              "\xC2\x80\xE0\xA0\x80\xF0\x90\x80\x80"sv,     // the first
              "\xED\x9F\xBF\xEE\x80\x80"sv})                // around the surrogates
            QVERIFY2(isUtf8(valid), valid.data());
        for (const char* invalid :
             {"\xED\xA0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
              "\xF5\x80\x80\x80", "a\x80", "\xE2\x82", "\xE2\x82x", "\xF0\x9F\x98x"})
            QVERIFY2(!isUtf8(invalid), QByteArray(invalid).toHex().constData());
    }
};

QTEST_APPLESS_MAIN(PhoneProtocolTest)
#include "PhoneProtocolTest.moc"
