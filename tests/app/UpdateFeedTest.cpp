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
        const QStringList ascending =
            QString("0 0.9 1 1.0.1-alpha 1.0.1-alpha.1 1.0.1-alpha.beta 1.0.1-beta.2 1.0.1-beta11 "
                    "1.0.1-rc2 1.0.1 v1.0.1+7 1.0.1+10 1.9.99 1.10 2.0-1 2 10.0.0.1 "
                    "18446744073709551616 99999999999999999999999")
                .split(u' ');
        const auto order = [](const QString& a, const QString& b) {
            return compareVersions(parseVersion(a).value(), parseVersion(b).value());
        };
        for (qsizetype a = 0; a < ascending.size(); ++a) {
            for (qsizetype b = 0; b < ascending.size(); ++b)
                QVERIFY2(order(ascending[a], ascending[b]) == (a <=> b), qPrintable(ascending[a]));
        }
        QVERIFY(std::is_eq(order("v1.02", "1.2.0+git.abc")));
        QVERIFY(std::is_eq(order("1-RC1", "1-rc.01")));
        for (const char* text : {"", "v", "1.", ".1", "1..2", "1.2 ", " 1", "1\n", "-1", "1-", "1+",
                                 "1.2beta", "latest", "1.2-ż", "1.2-a..b", "0x1", "١.٢"})
            QVERIFY2(!parseVersion(QString(text)), text);
        QVERIFY(!parseVersion(QString(65, u'1')));
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
        QByteArrayList items{"null", "{}", json("{'id': '9.9', 'url': {}}"), entry("latest"),
                             entry("2.0", {}, "https://example.invalid/" + QByteArray(2000, 'a'))};
        for (const char* page :
             {"http://example.invalid/", "file:///etc/passwd", "javascript:alert(1)", "//a/b",
              "https://", "", "https://bank.pl@example.invalid/", " https://example.invalid/"})
            items << entry("2.0", {}, page);
        for (const QByteArray& item : items)
            QVERIFY2(releasesOf(item + ',' + entry("1.5")).size() == 1, item);
    }

    void notesAreBoundedPlainText() {
        const std::pair<QByteArray, QString> cases[] = {
            {"\\r\\n <b>a</b>\\r\\nb\\rc\\td\\n\\n", "<b>a</b>\nb\nc d"},
            {"a\\u0000\\u001b[31m\\u009b\\u202eb\\u2028\\u200bc", "a[31mbc"},
            {'x' + QByteArray("\xF0\x9F\x93\xA6").repeated(9000), // no half characters
             u'x' + QStringLiteral("\U0001F4E6").repeated(1999) + u'…'},
            {QByteArray("x\\n").repeated(5000),
             QStringLiteral("x\n").repeated(200).chopped(1) + u'…'}};
        for (const auto& [notes, shown] : cases)
            QCOMPARE(releasesOf(entry("2.0", notes)).value(0).notes, shown);
    }

    void otherAnswersAreNoFeeds() {
        const QByteArray answers[] = {"",
                                      "<!DOCTYPE html><title>502</title>",
                                      feedOf(entry("2.0")).replace("version/1.1", "version/2"),
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
        const auto update =
            newestUpdate(readUpdateFeed(bytes).value(), parseVersion(u"1.0").value());
        QVERIFY(clock.elapsed() < 500);                                // under sanitizers, too
        QCOMPARE(update.value().versionText, QStringLiteral("1.999")); // the first thousand
    }
};

QTEST_GUILESS_MAIN(UpdateFeedTest)
#include "UpdateFeedTest.moc"
