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

QList<Release> releasesOf(const QByteArray& items) {
    return readUpdateFeed(feedOf(items)).value();
}

QByteArray entry(const QByteArray& version, const QByteArray& notes = "Nowości",
                 const QByteArray& page = "https://example.invalid/") {
    return json("{'id': '" + version + "', 'url': '" + page + "', 'content_text': '" + notes +
                "'}");
}

} // namespace

class UpdateFeedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void versionsHaveAnOrder() {
        const QString ascending =
            "0=0.0.0 0.9 1=1.0.0=1+git.abc 1.0.1-alpha 1.0.1-alpha.1 1.0.1-alpha.beta 1.0.1-beta.2 "
            "1.0.1-beta11 1.0.1-RC1=1.0.1-rc.01 1.0.1-rc2 1.0.1 v1.0.1+7 1.0.1+10 1.2=v1.02 1.9.99 "
            "1.10 2.0-1 2 10.0.0.1 18446744073709551616 99999999999999999999999";
        QList<std::pair<int, QString>> versions;
        int place = 0;
        for (const QString& equal : ascending.split(u' ')) {
            ++place;
            for (const QString& text : equal.split(u'='))
                versions << std::pair(place, text);
        }
        for (const auto& [placeA, a] : versions) {
            for (const auto& [placeB, b] : versions)
                QVERIFY2(compareVersions(parseVersion(a).value(), parseVersion(b).value()) ==
                             (placeA <=> placeB),
                         qPrintable(a + u' ' + b));
        }
    }

    void otherTextsAreNoVersions() {
        for (const char* text :
             {"", "v", "1.", ".1", "1..2", "1.2 ", " 1", "1\n", "-1", "1-", "1+", "1.2beta", "1,2",
              "latest", "1.2-ż", "1.2-a..b", "0x1", "1e9", "١.٢"})
            QVERIFY2(!parseVersion(QString(text)), text);
        QVERIFY(!parseVersion(QString(65, u'1')));
        QVERIFY(!parseVersion(QString("1") + QChar(0) + u'2'));
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
                     {"1.1", {"1.1+41"}, ""}}; // one's own build is unknown
        for (const auto& [own, feed, offered] : cases) {
            QByteArrayList entries;
            for (const QByteArray& version : feed)
                entries << entry(version);
            const auto update =
                newestUpdate(releasesOf(entries.join(',')), parseVersion(own).value());
            QCOMPARE(update ? update->versionText : QString(), offered);
        }
    }

    void unsoundEntriesAreLeftOut() {
        for (const char* page : {"https://example.invalid/a?b#c", "HTTPS://EXAMPLE.INVALID"})
            QVERIFY2(releasesOf(entry("2.0", {}, page)).size() == 1, page);
        QByteArrayList items{entry("2.0", {}, "https://example.invalid/" + QByteArray(2000, 'a'))};
        for (const char* item :
             {"null", "7", "[]", "{}", "{'id': 2, 'url': 'https://example.invalid/'}",
              "{'id': 'latest', 'url': 'https://example.invalid/'}", "{'id': '9.9', 'url': {}}",
              "{'id': '9.8', 'url': ['https://example.invalid/']}"})
            items << json(item);
        for (const char* page :
             {"http://example.invalid/", "file:///etc/passwd", "javascript:alert(1)", "//a/b",
              "https:/a", "https:", "https://", "", "/a", "https://bank.pl@example.invalid/",
              "https://exa mple.invalid/", "data:text/html,x", "https://[1/", "mailto:a@b",
              " https://example.invalid/"})
            items << entry("2.0", {}, page);
        for (const QByteArray& item : items)
            QVERIFY2(releasesOf(item + ',' + entry("1.5")).size() == 1, item);
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
        for (const auto& [notes, shown] : cases)
            QCOMPARE(releasesOf(entry("2.0", notes)).value(0).notes, shown);
    }

    void otherAnswersAreNoFeeds() {
        const QByteArray answers[] = {
            "",
            "<!DOCTYPE html><title>502</title>",
            json("{'items': []}"),
            json("{'version': 'https://jsonfeed.org/version/1', 'items': {}}"),
            feedOf(entry("2.0")).replace("version/1.1", "version/2"),
            "[]",
            feedOf(entry("2.0")).chopped(2),
            feedOf(entry("2.0", "\xC3\x28")),
            feedOf(QByteArray(100'000, '[') + QByteArray(100'000, ']')),
            feedOf(entry("2.0")) + QByteArray(maxFeedBytes, ' ')};
        for (const QByteArray& bytes : answers)
            QVERIFY2(!readUpdateFeed(bytes), bytes.first(qMin<qsizetype>(bytes.size(), 60)));
    }

    /// Within a frame or two of the window, whose thread reads it.
    void aFullFeedIsReadAtOnce() {
        QByteArrayList entries;
        for (int number = 0; number < 3200; ++number)
            entries << entry("1." + QByteArray::number(number));
        const QByteArray bytes = feedOf(entries.join(','));
        QVERIFY(bytes.size() > 240'000);
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
