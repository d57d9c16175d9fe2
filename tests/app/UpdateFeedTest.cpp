#include "app/updates/UpdateFeed.h"

#include <QElapsedTimer>
#include <QTest>

using namespace kopertal;

namespace {

/// JSON written with "'" for its quotes.
QByteArray json(QByteArray text) {
    return text.replace('\'', '"');
}

QByteArray feedOf(const QByteArray& items) {
    return json("{'version': 'https://jsonfeed.org/version/1.1', 'title': 'K', 'items': [") +
           items + "]}";
}

QByteArray entry(const QByteArray& version, const QByteArray& page = "https://example.invalid/",
                 const QByteArray& notes = "Nowości") {
    return json("{'id': '" + version + "', 'url': '" + page + "', 'content_text': '" + notes +
                "'}");
}

} // namespace

class UpdateFeedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void versionsHaveAnOrder() {
        const QStringList ascending =
            QStringLiteral("0.9 1 1.0.1-alpha 1.0.1-alpha.1 1.0.1-alpha.beta 1.0.1-beta.2 "
                           "1.0.1-beta11 1.0.1-RC1 1.0.1-rc2 1.0.1 v1.0.1+7 1.0.1+10 1.2 1.9.99 "
                           "1.10 2.0-1 2 10.0.0.1 18446744073709551616 99999999999999999999999")
                .split(u' ');
        for (qsizetype a = 0; a < ascending.size(); ++a) {
            for (qsizetype b = 0; b < ascending.size(); ++b) {
                const auto first = parseVersion(ascending[a]);
                const auto second = parseVersion(ascending[b]);
                QVERIFY2(first && second, qPrintable(ascending[a]));
                QVERIFY2(compareVersions(*first, *second) == (a <=> b),
                         qPrintable(ascending[a] + u' ' + ascending[b]));
            }
        }
    }

    void versionsAreEqual() {
        const std::pair<QString, QString> cases[] = {{"1.0.0", "1"},
                                                     {"1.02", "v1.2"},
                                                     {"0", "0.0.0"},
                                                     {"1+git.abc", "1"}, // no number
                                                     {"1-rc.01", "1-rc1"}};
        for (const auto& [a, b] : cases)
            QVERIFY2(std::is_eq(compareVersions(parseVersion(a).value(), parseVersion(b).value())),
                     qPrintable(a));
    }

    void otherTextsAreNoVersions() {
        QStringList texts{QString(65, u'1'), QStringLiteral("1") + QChar(0) + u'2'};
        for (const char* text :
             {"", "v", "1.", ".1", "1..2", "1.2 ", " 1", "1\n", "-1", "1-", "1+", "1.2beta", "1,2",
              "latest", "1.2-ż", "1.2-a..b", "0x1", "1e9", "١.٢"})
            texts << text;
        for (const QString& text : texts)
            QVERIFY2(!parseVersion(text), qPrintable(text));
    }

    void updatesAreOffered() {
        const struct {
            QString own;
            QByteArrayList feed;
            QString offered;
        } cases[] = {{"1.1", {"1.2", "1.10", "1.9"}, "1.10"}, // in any order
                     {"1.10", {"1.2", "1.10.0", "1.9"}, ""},
                     {"1.1", {"2.0-beta", "1.1.1"}, "1.1.1"},
                     {"2.0-beta.1", {"2.0-beta.2", "1.9"}, "2.0-beta.2"}, // to who has one
                     {"2.0-rc1", {"2.0"}, "2.0"},
                     {"1.1+40", {"1.1+41"}, "1.1+41"},
                     {"1.1", {"1.1+41"}, ""}, // one's own build is unknown
                     {"1.1", {}, ""}};
        for (const auto& [own, feed, offered] : cases) {
            QByteArrayList entries;
            for (const QByteArray& version : feed)
                entries << entry(version);
            const auto releases = readUpdateFeed(feedOf(entries.join(',')));
            QVERIFY(releases);
            const auto update = newestUpdate(*releases, parseVersion(own).value());
            QCOMPARE(update ? update->versionText : QString(), offered);
        }
    }

    void entriesWithoutASafeAddressAreLeftOut() {
        const auto isTaken = [](const QByteArray& page) {
            return !readUpdateFeed(feedOf(entry("2.0", page))).value().isEmpty();
        };
        for (const char* page : {"https://example.invalid/a?b#c", "HTTPS://EXAMPLE.INVALID"})
            QVERIFY2(isTaken(page), page);
        for (const char* page :
             {"http://example.invalid/", "file:///etc/passwd", "javascript:alert(1)", "//a/b",
              "https:/a", "https:", "https://", "", "/a", "https://bank.pl@example.invalid/",
              "https://exa mple.invalid/", "data:text/html,x", "https://[1/", "mailto:a@b",
              " https://example.invalid/"})
            QVERIFY2(!isTaken(page), page);
        QVERIFY(!isTaken("https://example.invalid/" + QByteArray(2000, 'a')));
    }

    void notesAreBoundedPlainText() {
        const std::pair<QByteArray, QString> cases[] = {
            {"<b>a</b> &amp; <img src=x>", "<b>a</b> &amp; <img src=x>"},
            {"\\r\\n a\\r\\nb\\rc\\td\\n\\n", "a\nb\nc d"},
            {"a\\u0000\\u001b[31m\\u009b\\u202eb\\u2028\\u200bc", "a[31mbc"},
            {QByteArray(100'000, 'x'), QString(4000, u'x') + u'…'},
            {'x' + QByteArray("\xF0\x9F\x93\xA6").repeated(9000), // no half characters
             u'x' + QStringLiteral("\U0001F4E6").repeated(1999) + u'…'},
            {QByteArray("x\\n").repeated(5000),
             QStringLiteral("x\n").repeated(200).chopped(1) + u'…'},
            {" \\n\\t\\u00a0", ""}};
        for (const auto& [notes, shown] : cases) {
            const auto releases =
                readUpdateFeed(feedOf(entry("2.0", "https://example.invalid/", notes)));
            QVERIFY(releases);
            QCOMPARE(releases->value(0).notes, shown);
        }
    }

    void otherAnswersAreNoFeeds() {
        const QByteArray answers[] = {
            "",
            "<!DOCTYPE html><title>502</title>",
            "<rss version=\"2.0\"/>",
            json("{'items': []}"),
            json("{'version': 'https://jsonfeed.org/version/1', 'items': {}}"),
            feedOf(entry("2.0")).replace("version/1.1", "version/2"),
            "[]",
            feedOf(entry("2.0")).chopped(2),
            feedOf(entry("2.0", "https://a.invalid/", "\xC3\x28")),
            feedOf(QByteArray(100'000, '[') + QByteArray(100'000, ']')),
            feedOf(entry("2.0")) + QByteArray(maxFeedBytes, ' ')};
        for (const QByteArray& bytes : answers)
            QVERIFY2(!readUpdateFeed(bytes), bytes.first(qMin<qsizetype>(bytes.size(), 60)));
    }

    void oddEntriesDoNotSpoilTheOthers() {
        const QByteArrayList odd{"null",
                                 "7",
                                 "[]",
                                 "{}",
                                 json("{'id': 2, 'url': 'https://example.invalid/'}"),
                                 json("{'id': '9.9', 'url': {}}"),
                                 entry("latest"),
                                 json("{'id': '9.8', 'url': ['https://example.invalid/']}"),
                                 json("{'id': '1.5', 'url': 'https://example.invalid/'}")};
        const auto releases = readUpdateFeed(feedOf(odd.join(',')));
        QVERIFY(releases);
        QCOMPARE(releases->size(), 1);
        QCOMPARE(releases->front().versionText, QStringLiteral("1.5"));
        QVERIFY(releases->front().notes.isEmpty());
    }

    /// Within a frame or two of the window, whose thread reads it.
    void aFullFeedIsReadAtOnce() {
        QByteArrayList entries;
        for (int number = 0; feedOf(entries.join(',')).size() < qsizetype(maxFeedBytes) - 200;
             number += 100) {
            for (int more = 0; more < 100; ++more)
                entries << entry(QByteArray("1.") + QByteArray::number(number + more));
        }
        while (feedOf(entries.join(',')).size() > qsizetype(maxFeedBytes))
            entries.removeLast();
        const QByteArray bytes = feedOf(entries.join(','));
        QVERIFY(entries.size() > 1000);
        QElapsedTimer clock;
        clock.start();
        const auto releases = readUpdateFeed(bytes);
        const auto update = newestUpdate(releases.value(), parseVersion(u"1.0").value());
        const qint64 elapsed = clock.elapsed();
        QCOMPARE(update.value().versionText, QStringLiteral("1.999")); // the first thousand
        QVERIFY2(elapsed < 500, qPrintable(QString::number(elapsed))); // under sanitizers, too
    }
};

QTEST_GUILESS_MAIN(UpdateFeedTest)
#include "UpdateFeedTest.moc"
