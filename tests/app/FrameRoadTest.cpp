#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/common/ErrorAlert.h"
#include "app/help/HelpView.h"
#include "app/sender/SenderSetupView.h"
#include "app/shell/FrameCommands.h"
#include "app/shell/FrameTexts.h"
#include "app/shell/MainWindow.h"
#include "app/updates/Updater.h"
#include "tests/support/Nameless.h"
#include "tests/support/OpenedAddresses.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "ui/LinkButton.h"
#include "ui/MorvikFooter.h"
#include "ui/MorvikStyle.h"

#include <QAccessible>
#include <QMenu>
#include <QScrollBar>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

/// The help window's page.
HelpView* openHelp() {
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* help = window->findChild<HelpView*>(); help && window->isVisible())
            return help;
    }
    return nullptr;
}

bool isWhollyVisible(const QWidget* part) {
    return part->visibleRegion() == part->rect();
}

} // namespace

/// What frames the window, by the X server's keys and pointer.
class FrameRoadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        morvik::MorvikStyle::install(*qApp);
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void init() {
        m_window = std::make_unique<MainWindow>(*m_settings);
        addFrameCommands(*m_window, m_updater,
                         {"1.1.0", "451", "kopertal.example", "https://kopertal.example/",
                          "pomoc@kopertal.example"});
        activate(*m_window);
    }

    void cleanup() {
        m_window->close();
        QTRY_VERIFY(!openHelp());
        m_window.reset();
    }

    void keysOpenTheHelp() {
        pressKeys({"F1"});
        QTRY_VERIFY(openHelp());
        HelpView* help = openHelp();
        QTRY_VERIFY(help->window()->isActiveWindow());
        const QScrollBar* bar = help->verticalScrollBar();
        const auto* contact = help->findChild<morvik::LinkButton*>();
        QVERIFY(!isWhollyVisible(contact));
        pressKeys({"End"});
        QTRY_VERIFY(isWhollyVisible(contact));
        pressKeys({"Home"});
        QTRY_COMPARE(bar->value(), 0);
        pressKeys({"Down"});
        QTRY_VERIFY(bar->value() > 0);
        pressKeys({"space"});
        QTRY_COMPARE(bar->value(), bar->maximum());
        pressKeys({"Prior", "Up"});
        QTRY_COMPARE(bar->value(), 0);

        OpenedAddresses opened;
        pressKeys({"Tab"}); // to the link, which comes into view
        QTRY_VERIFY(isWhollyVisible(contact));
        pressKeys({"Return"});
        QTRY_COMPARE(opened.list(),
                     QList<QByteArray>{"mailto:pomoc@kopertal.example?subject=Kopertal"});

        m_window->raiseToFront();
        QTRY_VERIFY(m_window->isActiveWindow());
        pressKeys({"ctrl+question"});
        QTRY_VERIFY(help->window()->isActiveWindow());
        QCOMPARE(namelessParts(), QStringList());
        pressKeys({"Escape"});
        QTRY_VERIFY(!openHelp());
    }

    void openWindowsComeOutOfTheTaskBar() {
        const QList<QAction*> items = m_window->applicationMenu()->actions();
        for (QAction* action : {items.at(0), items.at(3), m_window->helpMenu()->actions().at(0)}) {
            action->trigger();
            QTRY_VERIFY(QApplication::activeWindow() &&
                        QApplication::activeWindow() != m_window.get());
            QWidget* window = QApplication::activeWindow();
            window->showMinimized();
            QTRY_VERIFY(QApplication::activeWindow() != window);
            action->trigger();
            QTRY_COMPARE(QApplication::activeWindow(), window);
            QTRY_VERIFY(!window->isMinimized());
            window->close();
            QTRY_VERIFY(QApplication::activeWindow() != window);
        }
    }

    void keysWorkInTheSettings() {
        m_window->showSettings();
        QTRY_VERIFY(qobject_cast<SenderSetupView*>(QApplication::activeWindow()));
        pressKeys({"F1"});
        QTRY_VERIFY(openHelp());
        m_window->showSettings();
        QTRY_VERIFY(qobject_cast<SenderSetupView*>(QApplication::activeWindow()));
        pressKeys({"ctrl+q"});
        QTRY_VERIFY(!m_window->isVisible());
    }

    void wordsOfOthersAreShownAsTheyAre() {
        const QString words = QString("<h1>&amp; <b>x</b>\n").repeated(300);
        showError(words);
        QTRY_VERIFY(openAlert() && openAlert()->isActiveWindow());
        for (const auto* label : openAlert()->findChildren<QLabel*>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
        QVERIFY(words.startsWith(openAlert()->informativeText().chopped(1)));
        QVERIFY(openAlert()->height() < m_window->screen()->availableGeometry().height());
        pressKeys({"Return"});
        QTRY_VERIFY(!openAlert());
    }

    void tabGoesFromTheBrandMarkToTheTabsAndOn() {
        OpenedAddresses opened;
        clickAt(m_window->findChild<morvik::MorvikFooter*>());
        QTRY_COMPARE(opened.list().size(), 1);
        m_window->findChild<morvik::MorvikFooter*>()->setFocus(Qt::TabFocusReason);
        for (const char* expected : {"Adresy odbiorców", "Wyczyść adresy", "Adresy odbiorców"}) {
            pressKeys({"Tab"});
            QTRY_VERIFY(QApplication::focusWidget());
            const auto* stop = QAccessible::queryAccessibleInterface(QApplication::focusWidget());
            QVERIFY2(stop->text(QAccessible::Name).startsWith(expected), expected);
        }
    }

private:
    const QTemporaryDir m_folder;
    const std::unique_ptr<AppSettings> m_settings = readySettings(m_folder);
    std::unique_ptr<MainWindow> m_window;
    Updater m_updater{{{}, "1.1.0", "0", {}, PreferencesStore({}), {}}};
};

QTEST_MAIN(FrameRoadTest)
#include "FrameRoadTest.moc"
