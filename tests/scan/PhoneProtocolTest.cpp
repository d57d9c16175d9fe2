#include "scan/PhoneProtocol.h"

#include <QTest>

using namespace kopertal;
using namespace std::string_literals;

class PhoneProtocolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void choosesTheAnswer() {
        const std::pair<Answer, std::vector<std::string>> cases[] = {
            {Answer::manifest, {"GET /manifest.json", "GET /manifest.jsonx"}},
            {Answer::serviceWorker, {"GET /sw.js"}},
            {Answer::probe, {"GET /ping", "GET /ping/../pair", "GET /ping\r\n\r\n\xFF"}},
            {Answer::scanPage, {"GET /", "GET  /pair", "GET /Pair", "GETTING", "GET", "GET /żółw"}},
            {Answer::pairingPage, {"GET /pair", "GET /pair?x=1", "GET /pairing"}},
            {Answer::notFound, {"", "get /", " GET /", "\0GET /"s, "HEAD /", "POST /other"}},
            {Answer::badRequest, {"POST /upload", "POST /uploads"}}};
        for (const auto& [answer, requests] : cases) {
            for (const std::string& request : requests) {
                for (const char* end : {"\r\n\r\n", " HTTP/1.1\r\nHost: x\r\n\r\n"})
                    QVERIFY2(decide(request + end) == Decision(answer), request.c_str());
            }
        }
        for (const std::string& request :
             {""s, "GET /ping"s, "GET /ping\r\n\r"s, "GET /ping\n\n"s, "GET /\xFF\r\n\r\n"s,
              "GET /\xC0\xAF\r\n\r\n"s, "GET /\xED\xA0\x80\r\n\r\n"s})
            QVERIFY(std::holds_alternative<Drop>(decide(request)));
    }

    void readsTheDeclaredLength() {
        const std::pair<Decision, std::vector<std::string>> cases[] = {
            {Upload{1, "ab"}, {"Content-Length: 1"}},
            {Upload{5, "ab"},
             {"Content-Length: 5", "Content-Length: 5\r\nHost: x", "content-length: 5",
              "content-length: 7\r\nContent-Length: 5", "X-Content-Length: 5", "Content-Length: +5",
              "Content-Length: 00000000000000000000000000000000005"}},
            {Upload{52'428'800, "ab"}, {"Content-Length: 52428800"}},
            {Answer::tooLarge,
             {"Content-Length: 52428801", "Content-Length: 18446744073709551617"}},
            {Answer::badRequest,
             {"Content-Length: ", "Content-Length: 5 ", "Content-Length:  5",
              "Content-Length: 5\nX: y", "Content-Length: 0x5", "Content-Length: 5.0",
              "Content-Length: ٥", "Content-Length: +", "Content-Length: +-5", "Content-Length: 0",
              "Content-Length: -5", "Content-Length: 99999999999999999999999999999x",
              "CONTENT-LENGTH: 5", "Content-Length:5",
              "X: Content-Length: 6, really\r\nContent-Length: 5"}}};
        for (const auto& [decision, headers] : cases) {
            for (const std::string& header : headers)
                QVERIFY2(decide("POST /upload HTTP/1.1\r\n" + header + "\r\n\r\nab") == decision,
                         header.c_str());
        }
    }

    void answersByteForByte() {
        const PhoneDocuments documents{"ąb", "para", "{}", "'use'"};
        const std::tuple<Answer, std::string, std::string> answers[] = {
            {Answer::scanPage, "200 OK\r\nContent-Type: text/html; charset=utf-8", "ąb"},
            {Answer::pairingPage, "200 OK\r\nContent-Type: text/html; charset=utf-8", "para"},
            {Answer::manifest, "200 OK\r\nContent-Type: application/manifest+json; charset=utf-8",
             "{}"},
            {Answer::serviceWorker, "200 OK\r\nContent-Type: application/javascript; charset=utf-8",
             "'use'"},
            {Answer::probe, "200 OK\r\nAccess-Control-Allow-Origin: *", "ok"},
            {Answer::accepted, "200 OK", ""},
            {Answer::badRequest, "400 Bad Request", ""},
            {Answer::tooLarge, "413 Payload Too Large", ""},
            {Answer::notFound, "404 Not Found", ""}};
        for (const auto& [answer, head, document] : answers) {
            std::string bytes = "HTTP/1.1 " + head + "\r\nContent-Length: ";
            bytes += std::to_string(document.size()) + "\r\nConnection: close\r\n\r\n";
            QCOMPARE(answerBytes(answer, documents), bytes.append(document));
        }
    }

    void findsThePhoto() {
        const std::pair<std::string, std::size_t> cases[] = {{"abc\xFF", 0},
                                                             {"--x\r\n\r\n\xFF\xD8\xFF", 7},
                                                             {"\xFF\xFF\xD8", 1},
                                                             {"ab\x89PNG\r\n", 2},
                                                             {"\x89PNG....\xFF\xD8..", 8}};
        for (const auto& [body, start] : cases)
            QVERIFY2(photoStart(body) == start, body.c_str());
    }
};

QTEST_APPLESS_MAIN(PhoneProtocolTest)
#include "PhoneProtocolTest.moc"
