#include "app/updates/Updater.h"

#include "app/shell/AppDelegate.h"
#include "app/updates/CheckForUpdatesView.h"
#include "app/updates/UpdateAlerts.h"
#include "app/updates/UpdateView.h"
#include "net/HttpTransfers.h"
#include "tests/support/Nameless.h"
#include "tests/support/OpenedAddresses.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "tests/support/TrackingStandIn.h"
#include "ui/MorvikStyle.h"

#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSignalSpy>

using namespace kopertal;
using namespace kopertal::testing;
using namespace std::chrono_literals;

/// Against a server with TLS of its own.
class UpdaterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        m_standIn = std::make_unique<TrackingStandIn>();
        QVERIFY(m_standIn->isReady());
        morvik::MorvikStyle::install(*qApp);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void init() { store().remove(lastCheck), store().remove(skipped); }

    /// By itself, only of updates.
    void tellsWhatTheUserAsked() {
        const QString failed = "Nie udało się sprawdzić aktualizacji. ";
        const QString none = "Masz najnowszą wersję. Kopertal 1.1.0 to najnowsza dostępna wersja.";
        const std::pair<const char*, QString> cases[] = {
            {"feed-newer", "an update"},
            {"feed-old", none},
            {"feed-missing", failed + "Serwer aktualizacji odpowiedział błędem 404."},
            {"feed-large", failed + "Odpowiedź serwera jest zbyt duża."},
            {"empty", failed + "Nie można odczytać odpowiedzi serwera aktualizacji."},
            {"cut", failed + "Połączenie z serwerem zostało przerwane."}};
        for (const auto& [path, expected] : cases) {
            init();
            QCOMPARE(told(path, false), expected == "an update" ? expected : "");
            init();
            QCOMPARE(told(path, true), expected);
            QCOMPARE(store().text(lastCheck).has_value(), !expected.startsWith(failed));
        }
    }

    void updatesAreShownAndOpened() {
        Updater updater(parts("feed-newer"));
        QWidget window;
        new UpdateAlerts(updater, &window);
        activate(window);
        const auto view = [&window] { return window.findChild<UpdateView*>(); };
        const auto check = [&] {
            updater.checkForUpdates();
            QTRY_VERIFY(updater.canCheckForUpdates() && view() && view()->isActiveWindow());
        };
        check();
        pressKeys({"Escape"});
        QTRY_VERIFY(!view());
        check();
        QCOMPARE(view()->findChild<QPlainTextEdit*>()->toPlainText(), "<b>Nowości</b> w 99.2.0");
        QVERIFY(shows(view(), "Kopertal 99.2.0 jest już do pobrania. Używasz wersji 1.1.0."));
        QCOMPARE(namelessParts(), QStringList());
        check();
        QTRY_COMPARE(window.findChildren<UpdateView*>().size(), 1);
        OpenedAddresses opened;
        pressKeys({"Return"});
        QTRY_COMPARE(opened.list(), QList<QByteArray>{"https://kopertal.example/99.2.0"});
        QTRY_VERIFY(!view());
        QVERIFY(!store().text(skipped));
        check();
        clickAt(shownButton(view(), "Pomiń tę wersję"));
        QTRY_VERIFY(!view());
        QCOMPARE(store().text(skipped), "99.2.0");
    }

    /// It would get the next keys of who is typing.
    void anUpdateFoundByItselfLeavesTheKeyboard() {
        UpdaterParts late = parts("feed-newer");
        late.startDelay = 300ms;
        AppDelegate delegate(store(), {}, late); // which starts it
        QApplication::setQuitOnLastWindowClosed(false);
        QWidget window;
        QLineEdit field(&window);
        new UpdateAlerts(delegate.updater(), &window);
        activate(window);
        QTRY_VERIFY(window.findChild<UpdateView*>());
        QTest::qWait(300);
        QVERIFY(window.isActiveWindow());
        typeText("Anna");
        QTRY_COMPARE(field.text(), "Anna");
    }

    void theMenuItemFollowsTheCheck() {
        Updater updater(parts("feed-old%20after%200.3"));
        QMenu menu;
        new CheckForUpdatesView(updater, &menu, nullptr);
        QAction* item = menu.actions().front();
        QSignalSpy answers(&updater, &Updater::upToDate);
        item->trigger();
        QVERIFY(!item->isEnabled());
        updater.checkForUpdates(); // in vain
        QTRY_VERIFY(item->isEnabled());
        QTest::qWait(500);
        QCOMPARE(answers.count(), 1);
    }

    void withoutAFeedThereAreNoChecks() {
        for (const QString& feed :
             {QString(), m_standIn->address("http", "feed-newer"), QString("file:///etc/passwd")}) {
            UpdaterParts none = parts({});
            none.feed = feed;
            Updater updater(none);
            const QSignalSpy checks(&updater, &Updater::canCheckForUpdatesChanged);
            QMenu menu;
            new CheckForUpdatesView(updater, &menu, nullptr);
            QVERIFY(!menu.actions().front()->isEnabled());
            updater.start();
            updater.checkForUpdates();
            QTest::qWait(200);
            QCOMPARE(checks.count(), 0);
        }
    }

    void checksByItselfWhenItIsTime() {
        const auto before = [](std::chrono::seconds time) {
            return QDateTime::currentDateTimeUtc().addSecs(-time.count()).toString(Qt::ISODate);
        };
        for (const QString& last : {QString(), before(25h), before(-48h), QString("wczoraj")}) {
            store().setText(lastCheck, last);
            QCOMPARE(told("feed-newer", false), "an update");
        }
        store().setText(lastCheck, before(1min));
        Updater early(parts("feed-newer"));
        const QSignalSpy checks(&early, &Updater::canCheckForUpdatesChanged);
        early.start();
        QTest::qWait(500);
        QCOMPARE(checks.count(), 0);
    }

    void checksAgainAfterTheInterval() {
        UpdaterParts often = parts("feed-newer");
        often.interval = 1s;
        Updater updater(often);
        QSignalSpy found(&updater, &Updater::updateFound);
        updater.start();
        QTRY_VERIFY_WITH_TIMEOUT(found.count() >= 3, 15'000);
    }

    void skippedVersionsAreShownOnlyToWhoAsks() {
        store().setText(skipped, "99.2.0");
        QCOMPARE(told("feed-newer", false), "");
        QCOMPARE(told("feed-newer", true), "an update");
        store().remove(lastCheck);
        QCOMPARE(told("feed-newest", false), "an update"); // a later one
    }

private:
    static inline const auto lastCheck = QStringLiteral("updates.lastCheck");
    static inline const auto skipped = QStringLiteral("updates.skippedVersion");

    PreferencesStore store() const { return PreferencesStore(m_folder.filePath("settings.json")); }

    UpdaterParts parts(const QString& path) const {
        HttpOptions options;
        options.maxBodyBytes = maxFeedBytes;
        options.authorityFile = m_standIn->authority().toStdString();
        return {m_standIn->address("https", path),
                "1.1.0",
                "451",
                24h,
                store(),
                [options] { return std::make_unique<HttpTransfers>(options); },
                50ms};
    }

    /// What the user sees of an updater's first check; nothing when it is silent.
    QString told(const char* path, bool isAskedFor) {
        Updater updater(parts(path));
        QWidget window;
        new UpdateAlerts(updater, &window);
        const QSignalSpy canCheck(&updater, &Updater::canCheckForUpdatesChanged);
        isAskedFor ? updater.checkForUpdates() : updater.start();
        if (!QTest::qWaitFor([&] { return canCheck.count() == 2; }, 20'000))
            return "no check";
        const auto* alert = window.findChild<QMessageBox*>();
        return window.findChild<UpdateView*>() ? "an update"
               : alert                         ? alert->text() + ' ' + alert->informativeText()
                                               : QString();
    }

    QTemporaryDir m_folder;
    std::unique_ptr<TrackingStandIn> m_standIn;
};

QTEST_MAIN(UpdaterTest)
#include "UpdaterTest.moc"
