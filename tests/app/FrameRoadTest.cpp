#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/common/ErrorAlert.h"
#include "app/help/HelpView.h"
#include "app/sender/SenderSetupView.h"
#include "app/shell/AppDelegate.h"
#include "app/shell/FrameCommands.h"
#include "app/shell/FrameTexts.h"
#include "app/shell/MainWindow.h"
#include "app/updates/UpdateView.h"
#include "net/ByteBudget.h"
#include "tests/support/Nameless.h"
#include "tests/support/OpenedAddresses.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "ui/LinkButton.h"
#include "ui/MorvikFooter.h"
#include "ui/MorvikStyle.h"

#include <QAccessible>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollBar>

using namespace kopertal;
using namespace kopertal::testing;
using namespace std::chrono_literals;

namespace {

/// Answers every request with the same body.
class Answering : public HttpCarrier {
public:
    explicit Answering(QByteArray feed) : m_feed(std::move(feed)) {}

    void send(HttpRequest, Completion completion) override {
        HttpAnswer answer;
        answer.status = 200;
        const auto size = static_cast<std::size_t>(m_feed.size());
        auto body = std::make_shared<ReceivedBody>(std::make_shared<ByteBudget>(size), size);
        body->append(m_feed.constData(), size);
        answer.body = body;
        completion(std::move(answer));
    }

private:
    QByteArray m_feed;
};

template <typename Window>
Window* openWindow() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* found = qobject_cast<Window*>(window); found && found->isVisible())
            return found;
    }
    return nullptr;
}

/// The help window's page.
HelpView* openHelp() {
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* help = window->findChild<HelpView*>(); help && window->isVisible())
            return help;
    }
    return nullptr;
}

bool isWhollyVisible(const QWidget* part, const HelpView* help) {
    const QWidget* viewport = help->viewport();
    return viewport->rect().contains(QRect(part->mapTo(viewport, QPoint(0, 0)), part->size()));
}

} // namespace

/// What frames the window, by the X server's keys and pointer.
class FrameRoadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        morvik::MorvikStyle::install(*qApp);
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QApplication::setApplicationVersion(QStringLiteral("1.1.0"));
    }

    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_settings = readySettings(*m_folder);
        m_feed = "{\"version\": \"https://jsonfeed.org/version/1\", \"items\": [{\"id\": \"1.2\", "
                 "\"url\": \"https://example.invalid/1.2\", \"content_text\": \"<b>Nowe</b>\"}]}";
        m_delegate = std::make_unique<AppDelegate>(
            store(), m_settings->sentBooksKey,
            UpdaterParts{QStringLiteral("https://example.invalid/feed"), QStringLiteral("1.1.0"),
                         QStringLiteral("0"), 24h, store(),
                         [this] { return std::make_unique<Answering>(m_feed); }, m_startDelay});
        QApplication::setQuitOnLastWindowClosed(false); // the test's own loop goes on
        m_window = std::make_unique<MainWindow>(*m_settings);
        addFrameCommands(*m_window, m_delegate->updater(),
                         {QStringLiteral("1.1.0"), QStringLiteral("451"),
                          QStringLiteral("kopertal.example"),
                          QStringLiteral("https://kopertal.example/"),
                          QStringLiteral("pomoc@kopertal.example")});
        activate(*m_window);
    }

    void cleanup() {
        m_window->close();
        QTRY_VERIFY(!openHelp());
        m_window.reset();
        m_delegate.reset();
    }

    void keysOpenTheHelp() {
        pressKeys({"F1"});
        QTRY_VERIFY(openHelp());
        HelpView* help = openHelp();
        QCOMPARE(help->size(), QSize(600, 700));
        QCOMPARE(help->window()->windowTitle(), QStringLiteral("Kopertal — pomoc"));
        QVERIFY(shows(help, QStringLiteral("Wersja 1.1.0")));
        QTRY_VERIFY(help->window()->isActiveWindow());

        const auto labels = help->findChildren<QLabel*>();
        const QLabel* contact = *std::ranges::find(labels, "Pytania i sugestie:", &QLabel::text);
        QVERIFY(!isWhollyVisible(contact, help));
        pressKeys({"End"});
        QTRY_VERIFY(isWhollyVisible(contact, help));
        pressKeys({"Home"});
        QTRY_COMPARE(help->verticalScrollBar()->value(), 0);
        pressKeys({"Down"});
        QTRY_VERIFY(help->verticalScrollBar()->value() > 0);
        pressKeys({"space"});
        QTRY_COMPARE(help->verticalScrollBar()->value(), help->verticalScrollBar()->maximum());
        pressKeys({"Prior", "Up"});
        QTRY_COMPARE(help->verticalScrollBar()->value(), 0);

        OpenedAddresses opened;
        pressKeys({"Tab"}); // to the link, which comes into view
        QTRY_VERIFY(isWhollyVisible(help->findChild<morvik::LinkButton*>(), help));
        pressKeys({"Return"});
        QTRY_COMPARE(opened.list(),
                     QList<QByteArray>{"mailto:pomoc@kopertal.example?subject=Kopertal"});

        m_window->raiseToFront();
        QTRY_VERIFY(m_window->isActiveWindow());
        pressKeys({"ctrl+question"});
        QTRY_VERIFY(help->window()->isActiveWindow());
        QCOMPARE(openHelp(), help);
        QCOMPARE(namelessParts(), QStringList());
        pressKeys({"Escape"});
        QTRY_VERIFY(!openHelp());
    }

    void openWindowsComeOutOfTheTaskBar() {
        const auto opened = [this](QAction* action) {
            action->trigger();
            QWidget* window = nullptr;
            for (QWidget* each : QApplication::topLevelWidgets()) {
                if (each->isVisible() && each != m_window.get() && !qobject_cast<QMenu*>(each))
                    window = each;
            }
            return window;
        };
        const QList<QAction*> items = m_window->applicationMenu()->actions();
        for (QAction* action : {items.at(0), items.at(3), m_window->helpMenu()->actions().at(0)}) {
            QWidget* window = opened(action);
            QVERIFY(window);
            QTRY_VERIFY(window->isActiveWindow());
            window->showMinimized();
            QTRY_VERIFY(!window->isActiveWindow());
            QCOMPARE(opened(action), window);
            QTRY_VERIFY(window->isActiveWindow() && !window->isMinimized());
            window->close();
            QTRY_VERIFY(!window->isVisible());
        }
    }

    void keysWorkInTheSettings() {
        m_window->showSettings();
        QWidget* settings = openWindow<SenderSetupView>();
        QVERIFY(settings);
        QTRY_VERIFY(settings->isActiveWindow());
        pressKeys({"F1"});
        QTRY_VERIFY(openHelp());
        m_window->showSettings();
        QTRY_VERIFY(settings->isActiveWindow());
        pressKeys({"ctrl+q"});
        QTRY_VERIFY(!m_window->isVisible());
    }

    void wordsOfOthersAreShownAsTheyAre() {
        const QString words = QStringLiteral("<h1>&amp; <b>x</b>\n").repeated(300);
        showError(words);
        QTRY_VERIFY(openWindow<QMessageBox>());
        const auto* alert = openWindow<QMessageBox>();
        QTRY_VERIFY(alert->isActiveWindow());
        for (const auto* label : alert->findChildren<QLabel*>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
        QVERIFY(words.startsWith(alert->informativeText().chopped(1)));
        QVERIFY(alert->height() < m_window->screen()->availableGeometry().height());
        pressKeys({"Return"});
        QTRY_VERIFY(!openWindow<QMessageBox>());
    }

    void tabGoesFromTheBrandMarkToTheTabsAndOn() {
        OpenedAddresses opened;
        clickAt(m_window->findChild<morvik::MorvikFooter*>());
        QTRY_COMPARE(opened.list().size(), 1);
        QStringList stops;
        m_window->findChild<morvik::MorvikFooter*>()->setFocus(Qt::TabFocusReason);
        for (const char* expected : {"Adresy odbiorców", "Wyczyść adresy", "Adresy odbiorców"}) {
            pressKeys({"Tab"});
            QTRY_VERIFY(QApplication::focusWidget());
            stops += QAccessible::queryAccessibleInterface(QApplication::focusWidget())
                         ->text(QAccessible::Name);
            QVERIFY2(stops.last().startsWith(QString::fromUtf8(expected)),
                     qPrintable(stops.join(u'|')));
        }
    }

    void updatesAreShownAndOpened() {
        check();
        QTRY_VERIFY(openWindow<UpdateView>());
        UpdateView* view = openWindow<UpdateView>();
        QTRY_VERIFY(view->isActiveWindow());
        QCOMPARE(view->findChild<QPlainTextEdit*>()->toPlainText(), QStringLiteral("<b>Nowe</b>"));
        QVERIFY(shows(view,
                      QStringLiteral("Kopertal 1.2 jest już do pobrania. Używasz wersji 1.1.0.")));
        QCOMPARE(namelessParts(), QStringList());
        check();
        QTest::qWait(100);
        QVERIFY(openWindow<UpdateView>());
        OpenedAddresses opened;
        pressKeys({"Return"});
        QTRY_COMPARE(opened.list(), QList<QByteArray>{"https://example.invalid/1.2"});
        QTRY_VERIFY(!openWindow<UpdateView>());
        QVERIFY(!store().text(QStringLiteral("updates.skippedVersion")));
    }

    void anUpdateCanBeSkippedOrPutOff() {
        check();
        QTRY_VERIFY(openWindow<UpdateView>() && openWindow<UpdateView>()->isActiveWindow());
        pressKeys({"Escape"});
        QTRY_VERIFY(!openWindow<UpdateView>());
        check();
        QTRY_VERIFY(openWindow<UpdateView>() && openWindow<UpdateView>()->isActiveWindow());
        clickAt(shownButton(openWindow<UpdateView>(), QStringLiteral("Pomiń tę wersję")));
        QTRY_VERIFY(!openWindow<UpdateView>());
        QCOMPARE(store().text(QStringLiteral("updates.skippedVersion")), QStringLiteral("1.2"));
    }

    void theUserIsToldOfNoUpdateAndOfFailures() {
        m_feed = "{\"version\": \"https://jsonfeed.org/version/1\", \"items\": []}";
        check();
        QTRY_VERIFY(openWindow<QMessageBox>());
        QTRY_VERIFY(openWindow<QMessageBox>()->isActiveWindow());
        QCOMPARE(openWindow<QMessageBox>()->text(), QStringLiteral("Masz najnowszą wersję."));
        pressKeys({"Return"});
        QTRY_VERIFY(!openWindow<QMessageBox>());
        m_feed = "x";
        check();
        QTRY_VERIFY(openWindow<QMessageBox>());
        QCOMPARE(openWindow<QMessageBox>()->informativeText(),
                 QStringLiteral("Nie można odczytać odpowiedzi serwera aktualizacji."));
    }

    /// It would get the next keys of who is typing.
    void anUpdateFoundByItselfLeavesTheKeyboard() {
        cleanup();
        m_startDelay = 300ms;
        init();
        m_startDelay = 1h;
        QTRY_VERIFY(openWindow<UpdateView>());
        QTest::qWait(300);
        QVERIFY(m_window->isActiveWindow());
        typeText("Anna");
        QTRY_COMPARE(m_window->addresses().editor().text(), QStringLiteral("Anna"));
    }

private:
    PreferencesStore store() const {
        return PreferencesStore(m_folder->filePath(QStringLiteral("settings.json")));
    }

    void check() { m_window->applicationMenu()->actions().at(1)->trigger(); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<AppSettings> m_settings;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<MainWindow> m_window;
    QByteArray m_feed;
    std::chrono::milliseconds m_startDelay = 1h;
};

QTEST_MAIN(FrameRoadTest)
#include "FrameRoadTest.moc"
