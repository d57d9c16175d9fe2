#include "scan/PhoneProtocol.h"

#include "scan/Utf8.h"

#include <QTest>

using namespace kopertal;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

std::string empty(const std::string& status) {
    return "HTTP/1.1 " + status + "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
}

std::string headed(const std::string& type, const std::string& length,
                   const std::string& document) {
    return "HTTP/1.1 200 OK\r\nContent-Type: " + type +
           "; charset=utf-8\r\nContent-Length: " + length + "\r\nConnection: close\r\n\r\n" +
           document;
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
        const std::pair<Answer, std::string> answers[] = {
            {Answer::scanPage, headed("text/html", "3", "ąb")},
            {Answer::pairingPage, headed("text/html", "4", "para")},
            {Answer::manifest, headed("application/manifest+json", "2", "{}")},
            {Answer::serviceWorker, headed("application/javascript", "5", "'use'")},
            {Answer::probe, "HTTP/1.1 200 OK\r\nAccess-Control-Allow-Origin: *\r\n"
                            "Content-Length: 2\r\nConnection: close\r\n\r\nok"},
            {Answer::accepted, empty("200 OK")},
            {Answer::badRequest, empty("400 Bad Request")},
            {Answer::tooLarge, empty("413 Payload Too Large")},
            {Answer::notFound, empty("404 Not Found")}};
        for (const auto& [answer, bytes] : answers)
            QCOMPARE(answerBytes(answer, documents), bytes);
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
        for (unsigned start = 0; start <= 0xFFFF; ++start) {
            for (const std::string_view end :
                 {"", "\x80", "\x80\xBF", "\xBF\x80", "x\x80", "\x80x"}) {
                std::string bytes{static_cast<char>(start >> 8), static_cast<char>(start)};
                bytes += end;
                QCOMPARE(isUtf8(bytes), QByteArrayView(bytes).isValidUtf8());
            }
        }
        QVERIFY(isUtf8({}));
    }
};

QTEST_APPLESS_MAIN(PhoneProtocolTest)
#include "PhoneProtocolTest.moc"
