#include "app/updates/Updater.h"

#include "app/updates/CheckForUpdatesView.h"
#include "net/HttpTransfers.h"
#include "tests/support/TrackingStandIn.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace kopertal;
using namespace std::chrono_literals;

/// Against a server with TLS of its own.
class UpdaterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        m_standIn = std::make_unique<TrackingStandIn>();
        QVERIFY(m_standIn->isReady());
    }

    void init() { store().remove(lastCheck), store().remove(skipped); }

    void tellsWhatTheUserAsked() {
        const struct {
            const char* listener;
            const char* path;
            QString outcome;
        } cases[] = {
            {"https", "feed-newer", "99.2.0"},
            {"http2", "feed-newest", "99.3.0"},
            {"https", "feed-old", "aktualna"},
            {"https", "feed-missing", "Serwer aktualizacji odpowiedział błędem 404."},
            {"https", "feed-large", "Odpowiedź serwera jest zbyt duża."},
            {"https", "bomb", "Odpowiedź serwera jest zbyt duża."},
            {"https", "page", "Serwer aktualizacji odpowiedział błędem 502."},
            {"https", "empty", "Nie można odczytać odpowiedzi serwera aktualizacji."},
            {"https", "cut", "Połączenie z serwerem zostało przerwane."},
            {"https", "garbage", "Odpowiedź serwera jest niezrozumiała."},
            {"https", "downgrade",
             "Serwer przekierował z połączenia szyfrowanego na nieszyfrowane; ze "
             "względów bezpieczeństwa połączenie przerwano."},
            {"stranger", "feed-newer", "Certyfikat serwera nie pochodzi od zaufanego wystawcy."}};
        for (const auto& [listener, path, expected] : cases) {
            init();
            Updater updater(parts(m_standIn->address(listener, path)));
            QString outcome;
            connect(&updater, &Updater::updateFound, this,
                    [&](const Release& release, bool isAskedFor) {
                        QVERIFY(isAskedFor);
                        QCOMPARE(release.notes, "Nowości w " + release.versionText);
                        outcome = release.versionText;
                    });
            connect(&updater, &Updater::upToDate, this, [&] { outcome = "aktualna"; });
            connect(&updater, &Updater::checkFailed, this,
                    [&](const QString& message) { outcome = message; });
            updater.checkForUpdates();
            QTRY_VERIFY2(!outcome.isEmpty(), path);
            QCOMPARE(outcome, expected);
            QVERIFY(updater.canCheckForUpdates());
            const bool isAnswered = outcome.startsWith(u'9') || outcome == "aktualna";
            QCOMPARE(store().text(lastCheck).has_value(), isAnswered);
        }
    }

    void theMenuItemFollowsTheCheck() {
        Updater updater(parts(m_standIn->address("https", "feed-old%20after%200.3")));
        QMenu menu;
        new CheckForUpdatesView(updater, &menu, nullptr);
        QAction* item = menu.actions().front();
        QCOMPARE(item->text().remove(u'&'), QStringLiteral("Sprawdź aktualizacje…"));
        QVERIFY(item->isEnabled());
        QSignalSpy answers(&updater, &Updater::upToDate);
        item->trigger();
        QVERIFY(!item->isEnabled());
        updater.checkForUpdates(); // in vain
        QTRY_VERIFY(item->isEnabled());
        QTest::qWait(500);
        QCOMPARE(answers.count(), 1);
    }

    void withoutAFeedThereAreNoChecks() {
        for (const QString& feed : {QString(), m_standIn->address("http", "feed-newer"),
                                    QStringLiteral("file:///etc/passwd")}) {
            bool isAsked = false;
            UpdaterParts none = parts(feed);
            none.makeCarrier = [&isAsked] {
                isAsked = true;
                return std::make_unique<HttpTransfers>(HttpOptions());
            };
            Updater updater(none);
            QMenu menu;
            new CheckForUpdatesView(updater, &menu, nullptr);
            QVERIFY(!menu.actions().front()->isEnabled());
            updater.start();
            updater.checkForUpdates();
            QTest::qWait(200);
            QVERIFY2(!isAsked, qPrintable(feed));
        }
    }

    void checksByItselfWhenItIsTime() {
        const auto before = [](std::chrono::seconds time) {
            return QDateTime::currentDateTimeUtc().addSecs(-time.count()).toString(Qt::ISODate);
        };
        const std::pair<QString, bool> cases[] = {{{}, true},
                                                  {before(25h), true},
                                                  {before(1min), false},
                                                  {before(-48h), true},
                                                  {"wczoraj", true}};
        for (const auto& [last, checks] : cases) {
            init();
            if (!last.isEmpty())
                store().setText(lastCheck, last);
            Updater updater(parts(m_standIn->address("https", "feed-newer")));
            QSignalSpy found(&updater, &Updater::updateFound);
            updater.start();
            if (checks)
                QTRY_COMPARE(found.count(), 1);
            QTest::qWait(checks ? 0 : 500);
            QCOMPARE(found.count(), checks ? 1 : 0);
            if (checks)
                QVERIFY(!found.front().at(1).toBool());
        }
    }

    void checksAgainAfterTheInterval() {
        UpdaterParts often = parts(m_standIn->address("https", "feed-newer"));
        often.interval = 1s;
        Updater updater(often);
        QSignalSpy found(&updater, &Updater::updateFound);
        updater.start();
        QTRY_VERIFY_WITH_TIMEOUT(found.count() >= 3, 15'000);
    }

    void byItselfItFailsAndFindsNothingSilently() {
        for (const char* path : {"feed-missing", "cut", "feed-old"}) {
            Updater updater(parts(m_standIn->address("https", path)));
            QSignalSpy canCheck(&updater, &Updater::canCheckForUpdatesChanged);
            QSignalSpy upToDate(&updater, &Updater::upToDate);
            QSignalSpy failed(&updater, &Updater::checkFailed);
            updater.start();
            QTRY_COMPARE(canCheck.count(), 2);
            QCOMPARE(upToDate.count() + failed.count(), 0);
        }
    }

    void skippedVersionsAreShownOnlyToWhoAsks() {
        Updater updater(parts(m_standIn->address("https", "feed-newer")));
        QSignalSpy found(&updater, &Updater::updateFound);
        updater.checkForUpdates();
        QTRY_COMPARE(found.count(), 1);
        updater.skip(found.front().front().value<Release>());
        store().remove(lastCheck);
        const auto offersByItself = [this](const char* path) {
            Updater later(parts(m_standIn->address("https", path)));
            const QSignalSpy offered(&later, &Updater::updateFound);
            const QSignalSpy canCheck(&later, &Updater::canCheckForUpdatesChanged);
            later.start();
            return QTest::qWaitFor([&] { return canCheck.count() == 2; }) && offered.count() == 1;
        };
        QVERIFY(!offersByItself("feed-newer"));
        updater.checkForUpdates();
        QTRY_COMPARE(found.count(), 2);
        store().remove(lastCheck);
        QVERIFY(offersByItself("feed-newest")); // a later one
    }

    void goesWithACheckUnderWay() {
        auto updater = std::make_unique<Updater>(parts(m_standIn->address("https", "silent")));
        updater->checkForUpdates();
        QTest::qWait(100);
        updater.reset();
        QTest::qWait(100);
    }

private:
    static inline const auto lastCheck = QStringLiteral("updates.lastCheck");
    static inline const auto skipped = QStringLiteral("updates.skippedVersion");

    PreferencesStore store() const {
        return PreferencesStore(m_folder.filePath(QStringLiteral("settings.json")));
    }

    UpdaterParts parts(const QString& feed) const {
        HttpOptions options;
        options.maxBodyBytes = maxFeedBytes;
        options.authorityFile = m_standIn->authority().toStdString();
        return {feed,
                QStringLiteral("1.1.0"),
                QStringLiteral("451"),
                24h,
                store(),
                [options] { return std::make_unique<HttpTransfers>(options); },
                50ms};
    }

    QTemporaryDir m_folder;
    std::unique_ptr<TrackingStandIn> m_standIn;
};

QTEST_MAIN(UpdaterTest)
#include "UpdaterTest.moc"
