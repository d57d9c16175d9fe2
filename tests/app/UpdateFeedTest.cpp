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
        const QStringList ascending{"0.9",
                                    "1",
                                    "1.0.1-alpha",
                                    "1.0.1-alpha.1",
                                    "1.0.1-alpha.beta",
                                    "1.0.1-beta.2",
                                    "1.0.1-beta11",
                                    "1.0.1-RC1",
                                    "1.0.1-rc2",
                                    "1.0.1",
                                    "v1.0.1+7",
                                    "1.0.1+10",
                                    "1.2",
                                    "1.9.99",
                                    "1.10",
                                    "2.0-1",
                                    "2",
                                    "10.0.0.1",
                                    "18446744073709551616",
                                    "99999999999999999999999"};
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

    void versionsAreEqual_data() {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::newRow("zeros at the end") << "1.0.0"
                                          << "1";
        QTest::newRow("zeros before") << "1.02"
                                      << "v1.2";
        QTest::newRow("nothing but zeros") << "0"
                                           << "0.0.0";
        QTest::newRow("build that is no number") << "1+git.abc"
                                                 << "1";
        QTest::newRow("pre-release's number") << "1-rc.01"
                                              << "1-rc1";
    }

    void versionsAreEqual() {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QVERIFY(std::is_eq(compareVersions(parseVersion(a).value(), parseVersion(b).value())));
    }

    void otherTextsAreNoVersions_data() {
        QTest::addColumn<QString>("text");
        for (const char* text : {"", "v", "1.", ".1", "1..2", "1.2 ", " 1", "1\n", "-1", "1-", "1+",
                                 "1.2beta", "1,2", "latest", "1.2-ż", "1.2-a..b", "0x1", "1e9"})
            QTest::addRow("\"%s\"", text) << QString::fromUtf8(text);
        QTest::newRow("too long") << QString(65, u'1');
        QTest::newRow("other digits") << QStringLiteral("١.٢");
        QTest::newRow("zero") << QStringLiteral("1") + QChar(0) + u'2';
    }

    void otherTextsAreNoVersions() {
        QFETCH(QString, text);
        QVERIFY(!parseVersion(text));
    }

    void updatesAreOffered_data() {
        QTest::addColumn<QString>("own");
        QTest::addColumn<QStringList>("feed");
        QTest::addColumn<QString>("offered");
        QTest::newRow("the newest, in any order")
            << "1.1" << QStringList{"1.2", "1.10", "1.9"} << "1.10";
        QTest::newRow("nothing newer") << "1.10" << QStringList{"1.2", "1.10.0", "1.9"} << "";
        QTest::newRow("no pre-release") << "1.1" << QStringList{"2.0-beta", "1.1.1"} << "1.1.1";
        QTest::newRow("pre-releases to who has one")
            << "2.0-beta.1" << QStringList{"2.0-beta.2", "1.9"} << "2.0-beta.2";
        QTest::newRow("the release after it") << "2.0-rc1" << QStringList{"2.0"} << "2.0";
        QTest::newRow("a later build") << "1.1+40" << QStringList{"1.1+41"} << "1.1+41";
        QTest::newRow("no build where one's own is unknown")
            << "1.1" << QStringList{"1.1+41"} << "";
        QTest::newRow("an empty feed") << "1.1" << QStringList{} << "";
    }

    void updatesAreOffered() {
        QFETCH(QString, own);
        QFETCH(QStringList, feed);
        QByteArrayList entries;
        for (const QString& version : feed)
            entries << entry(version.toUtf8());
        const auto releases = readUpdateFeed(feedOf(entries.join(',')));
        QVERIFY(releases);
        const auto update = newestUpdate(*releases, parseVersion(own).value());
        QTEST(update ? update->versionText : QString(), "offered");
    }

    void entriesWithoutASafeAddressAreLeftOut_data() {
        QTest::addColumn<QByteArray>("page");
        QTest::addColumn<bool>("isTaken");
        QTest::newRow("https") << QByteArray("https://example.invalid/a?b#c") << true;
        QTest::newRow("upper case") << QByteArray("HTTPS://EXAMPLE.INVALID") << true;
        for (const char* page :
             {"http://example.invalid/", "file:///etc/passwd", "javascript:alert(1)", "//a/b",
              "https:/a", "https:", "https://", "", "/a", "https://bank.pl@example.invalid/",
              "https://exa mple.invalid/", "data:text/html,x", "https://[1/", "mailto:a@b",
              " https://example.invalid/"})
            QTest::addRow("\"%s\"", page) << QByteArray(page) << false;
        QTest::newRow("too long") << "https://example.invalid/" + QByteArray(2000, 'a') << false;
    }

    void entriesWithoutASafeAddressAreLeftOut() {
        QFETCH(QByteArray, page);
        const auto releases = readUpdateFeed(feedOf(entry("2.0", page)));
        QVERIFY(releases);
        QTEST(!releases->isEmpty(), "isTaken");
    }

    void notesAreBoundedPlainText_data() {
        QTest::addColumn<QByteArray>("notes");
        QTest::addColumn<QString>("shown");
        QTest::newRow("markup stays text")
            << QByteArray("<b>a</b> &amp; <img src=x>") << "<b>a</b> &amp; <img src=x>";
        QTest::newRow("line ends") << QByteArray("\\r\\n a\\r\\nb\\rc\\td\\n\\n") << "a\nb\nc d";
        QTest::newRow("controls") << QByteArray("a\\u0000\\u001b[31m\\u009b\\u202eb\\u2028\\u200bc")
                                  << "a[31mbc";
        QTest::newRow("too long") << QByteArray(100'000, 'x') << QString(4000, u'x') + u'…';
        QTest::newRow("no half characters")
            << 'x' + QByteArray("\xF0\x9F\x93\xA6").repeated(9000)
            << u'x' + QStringLiteral("\U0001F4E6").repeated(1999) + u'…';
        QTest::newRow("too many lines") << QByteArray("x\\n").repeated(5000)
                                        << QStringLiteral("x\n").repeated(200).chopped(1) + u'…';
        QTest::newRow("only blanks") << QByteArray(" \\n\\t\\u00a0") << "";
    }

    void notesAreBoundedPlainText() {
        QFETCH(QByteArray, notes);
        const auto releases =
            readUpdateFeed(feedOf(entry("2.0", "https://example.invalid/", notes)));
        QVERIFY(releases);
        QTEST(releases->value(0).notes, "shown");
    }

    void otherAnswersAreNoFeeds_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a page") << QByteArray("<!DOCTYPE html><title>502</title>");
        QTest::newRow("another feed") << QByteArray("<rss version=\"2.0\"/>");
        QTest::newRow("another object") << QByteArray(json("{'items': []}"));
        QTest::newRow("no entries")
            << QByteArray(json("{'version': 'https://jsonfeed.org/version/1', 'items': {}}"));
        QTest::newRow("another version of feeds")
            << feedOf(entry("2.0")).replace("version/1.1", "version/2");
        QTest::newRow("a list") << QByteArray("[]");
        QTest::newRow("cut") << feedOf(entry("2.0")).chopped(2);
        QTest::newRow("no text") << feedOf(entry("2.0", "https://a.invalid/", "\xC3\x28"));
        QTest::newRow("deep") << feedOf(QByteArray(100'000, '[') + QByteArray(100'000, ']'));
        QTest::newRow("too large") << feedOf(entry("2.0")) + QByteArray(maxFeedBytes, ' ');
    }

    void otherAnswersAreNoFeeds() {
        QFETCH(QByteArray, bytes);
        QVERIFY(!readUpdateFeed(bytes));
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
