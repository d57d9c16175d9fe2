#include "app/updates/Updater.h"

#include "app/shell/AppDelegate.h"
#include "app/updates/CheckForUpdatesView.h"
#include "app/updates/UpdateAlerts.h"
#include "app/updates/UpdateView.h"
#include "net/HttpTransfers.h"
#include "tests/support/OpenedAddresses.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "tests/support/TrackingStandIn.h"
#include "ui/MorvikStyle.h"

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
        QVERIFY(m_standIn.isReady());
        morvik::MorvikStyle::install(*qApp);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void init() { QFile::remove(m_folder.filePath("settings.json")); }

    /// By itself, only of updates.
    void tellsWhatTheUserAsked() {
        const QString failed = "Nie udało się sprawdzić aktualizacji. ";
        const QString none = "Masz najnowszą wersję. Kopertal 1.1.0 to najnowsza dostępna wersja.";
        const std::pair<const char*, QString> cases[] = {
            {"feed-newer", "an update"},
            {"feed-old", none},
            {"feed-missing", failed + "Serwer aktualizacji odpowiedział błędem 404."},
            {"feed-large", failed + "Odpowiedź serwera jest zbyt duża."},
            {"empty", failed + "Nie można odczytać odpowiedzi serwera aktualizacji."}};
        for (const auto& [path, expected] : cases) {
            store().remove(lastCheck);
            QCOMPARE(told(path, false), expected == "an update" ? expected : "");
            store().remove(lastCheck);
            QCOMPARE(told(path, true), expected);
            QCOMPARE(store().text(lastCheck).has_value(), !expected.startsWith(failed));
        }
    }

    void updatesAreShownAndOpened() {
        Updater updater(parts("feed-newer"));
        QWidget window;
        new UpdateAlerts(updater, &window);
        QMenu menu;
        new CheckForUpdatesView(updater, &menu, nullptr);
        activate(window);
        const auto view = [&window] { return window.findChild<UpdateView*>(); };
        const auto check = [&, item = menu.actions().front()] {
            item->trigger();
            QVERIFY(!item->isEnabled());
            QTRY_VERIFY(item->isEnabled() && view() && view()->isActiveWindow());
        };
        check();
        QCOMPARE(view()->findChild<QPlainTextEdit*>()->toPlainText(), "<b>Nowości</b> w 99.2.0");
        QVERIFY(shows(view(), "Kopertal 99.2.0 jest już do pobrania. Używasz wersji 1.1.0."));
        check();
        QTRY_COMPARE(window.findChildren<UpdateView*>().size(), 1);
        OpenedAddresses opened;
        pressKeys({"Return"});
        QTRY_COMPARE(opened.list(), QList<QByteArray>{"https://kopertal.example/99.2.0"});
        QTRY_VERIFY(!view());
        check();
        clickAt(shownButton(view(), "Pomiń tę wersję"));
        QTRY_VERIFY(!view());
        store().remove(lastCheck);
        QCOMPARE(told("feed-newer", false), "");
        QCOMPARE(told("feed-newer", true), "an update");
        store().remove(lastCheck);
        QCOMPARE(told("feed-newest", false), "an update"); // a later one
    }

    void withoutAFeedThereAreNoChecks() {
        for (const QString& feed :
             {QString(), m_standIn.address("http", "feed-newer"), QString("file:///etc/passwd")}) {
            UpdaterParts none = parts({});
            none.feed = feed;
            Updater updater(none);
            const QSignalSpy checks(&updater, &Updater::canCheckForUpdatesChanged);
            QVERIFY(!updater.canCheckForUpdates());
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

        UpdaterParts often = parts("feed-newer");
        often.interval = 1s;
        AppDelegate delegate(store(), {}, often); // which starts it
        const QSignalSpy found(&delegate.updater(), &Updater::updateFound);
        QTRY_VERIFY_WITH_TIMEOUT(found.count() >= 3, 15'000);
    }

private:
    static inline const auto lastCheck = QStringLiteral("updates.lastCheck");

    PreferencesStore store() const { return PreferencesStore(m_folder.filePath("settings.json")); }

    UpdaterParts parts(const QString& path) const {
        HttpOptions options;
        options.maxBodyBytes = maxFeedBytes;
        options.authorityFile = m_standIn.authority().toStdString();
        return {m_standIn.address("https", path),
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
    TrackingStandIn m_standIn;
};

QTEST_MAIN(UpdaterTest)
#include "UpdaterTest.moc"
