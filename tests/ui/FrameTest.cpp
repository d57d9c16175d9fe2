#include "tests/support/OpenedAddresses.h"
#include "ui/AboutPanel.h"
#include "ui/LinkButton.h"
#include "ui/MorvikAboutCommand.h"
#include "ui/MorvikAppDelegate.h"
#include "ui/MorvikFooter.h"
#include "ui/MorvikHelpCommands.h"
#include "ui/MorvikHelpWindow.h"
#include "ui/MorvikStyle.h"

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QTest>
#include <QTimer>

#include <optional>

using namespace morvik;
using kopertal::testing::OpenedAddresses;

namespace {

/// The titles of the items; a divider is "-".
QStringList titles(const QMenu& menu) {
    QStringList titles;
    for (const QAction* action : menu.actions())
        titles << (action->isSeparator() ? QStringLiteral("-") : action->text());
    return titles;
}

QList<QWidget*> openWindows(const QString& title) {
    QList<QWidget*> windows;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->windowTitle() == title)
            windows << window;
    }
    return windows;
}

} // namespace

/// The commands that frame a program.
class FrameTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        MorvikStyle::install(*qApp);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void reportsAreEncodedAsAQuery_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("encoded");
        QTest::newRow("plain") << "Kopertal"
                               << "Kopertal";
        QTest::newRow("blanks and letters") << "Żółć 2"
                                            << "%C5%BB%C3%B3%C5%82%C4%87%202";
        QTest::newRow("what a query may hold") << "a!$&'()*+,;=:@/?-._~"
                                               << "a!$&'()*+,;=:@/?-._~";
        QTest::newRow("what it may not") << "#%\"<>[]\\^`{|}\n"
                                         << "%23%25%22%3C%3E%5B%5D%5C%5E%60%7B%7C%7D%0A";
        QTest::newRow("no text") << QString(QChar(0xD800)) << QString(QChar(0xD800));
    }

    void reportsAreEncodedAsAQuery() {
        QFETCH(QString, name);
        QFETCH(QString, encoded);
        QCOMPARE(reportAddress(name, QStringLiteral("a@b.example")),
                 QStringLiteral("mailto:a@b.example?subject=") + encoded +
                     QStringLiteral("%20-%20zg%C5%82oszenie"));
    }

    void reportsAreHandedOverUnchanged() {
        OpenedAddresses opened;
        QMenu menu;
        MorvikHelpWindowCommand{QStringLiteral("Kopertal"), QStringLiteral("a@b.example"), {}}
            .addTo(&menu);
        QCOMPARE(titles(menu), (QStringList{QStringLiteral("Kopertal — pomoc"),
                                            QStringLiteral("Kopertal — zgłoś błąd"), "-"}));
        menu.actions().at(1)->trigger();
        QCOMPARE(opened.list(), QList<QByteArray>{"mailto:a@b.example?subject=Kopertal%20-%20zg%C5%"
                                                  "82oszenie"});
        QMenu broken;
        MorvikHelpWindowCommand{QStringLiteral("X"), QStringLiteral("a b@[c"), {}}.addTo(&broken);
        broken.actions().at(1)->trigger();
        QCOMPARE(opened.list().size(), 1);
    }

    void webHelpMenusHaveTheirDividers_data() {
        using Address = std::optional<QString>;
        QTest::addColumn<Address>("rate");
        QTest::addColumn<Address>("terms");
        QTest::addColumn<Address>("privacy");
        QTest::addColumn<QString>("expected");
        const Address some(QStringLiteral("https://example.invalid/"));
        const QString help = QStringLiteral("K — pomoc programu|-");
        const QString rate = QStringLiteral("|Oceń program K");
        const QString terms = QStringLiteral("|Warunki korzystania");
        const QString privacy = QStringLiteral("|Polityka prywatności");
        const auto dash = QStringLiteral("|-");
        QTest::newRow("all") << some << some << some << help + rate + dash + terms + privacy;
        QTest::newRow("rating") << some << Address() << Address() << help + rate;
        QTest::newRow("terms") << Address() << some << Address() << help + dash + terms;
        QTest::newRow("privacy") << some << Address() << some << help + rate + dash + privacy;
        QTest::newRow("none") << Address() << Address() << Address() << help;
    }

    void webHelpMenusHaveTheirDividers() {
        QFETCH(std::optional<QString>, rate);
        QFETCH(std::optional<QString>, terms);
        QFETCH(std::optional<QString>, privacy);
        QMenu menu;
        MorvikHelpCommands{QStringLiteral("K"), QStringLiteral("https://example.invalid/h%20?a=ż"),
                           rate, terms, privacy}
            .addTo(&menu);
        QTEST(titles(menu).join(u'|'), "expected");
        OpenedAddresses opened;
        menu.actions().front()->trigger();
        QCOMPARE(opened.list(), QList<QByteArray>{"https://example.invalid/h%20?a=%C5%BC"});
    }

    void thereIsOneHelpWindow() {
        int made = 0;
        const auto content = [&made] {
            ++made;
            return new QLabel(QStringLiteral("treść"));
        };
        const QString title = QStringLiteral("Pomoc");
        MorvikHelpWindow::show(title, 600, 400, content);
        MorvikHelpWindow::show(QStringLiteral("Inny"), 100, 100, content);
        QCOMPARE(openWindows(title).size(), 1);
        QVERIFY(openWindows(QStringLiteral("Inny")).isEmpty());
        QCOMPARE(made, 1);
        QWidget* window = openWindows(title).front();
        QCOMPARE(window->size(), QSize(600, 400));
        QVERIFY(!(window->windowFlags() & Qt::WindowMinimizeButtonHint));
        QVERIFY(QTest::qWaitForWindowActive(window));
        window->close();
        MorvikHelpWindow::show(QStringLiteral("Inny"), 300, 200, content);
        QCOMPARE(openWindows(QStringLiteral("Inny")).size(), 1);
        QCOMPARE(made, 2);
        window = openWindows(QStringLiteral("Inny")).front();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QTest::keyClick(window, Qt::Key_Escape);
        QTRY_VERIFY(openWindows(QStringLiteral("Inny")).isEmpty());
    }

    void theAboutPanelTellsFourThings() {
        QMenu menu;
        const QAction* last = menu.addAction(QStringLiteral("Koniec"));
        QAction* about = MorvikAboutCommand{QStringLiteral("Kopertal"), QStringLiteral("1.2"),
                                            QStringLiteral("451"), QStringLiteral("<b>Strona</b>"),
                                            QStringLiteral("https://example.invalid/")}
                             .insertInto(&menu, menu.actions().front());
        QCOMPARE(titles(menu),
                 (QStringList{QStringLiteral("Kopertal — informacje"), last->text()}));
        about->trigger();
        about->trigger();
        const auto windows = openWindows(about->text());
        QCOMPARE(windows.size(), 1);
        QVERIFY(QTest::qWaitForWindowActive(windows.front()));
        QStringList texts;
        for (const QLabel* label : windows.front()->findChildren<QLabel*>())
            texts << label->text();
        QVERIFY(texts.contains(QStringLiteral("Kopertal")));
        QVERIFY(texts.contains(QStringLiteral("Wersja 1.2 (451)")));
        OpenedAddresses opened;
        auto* link = windows.front()->findChild<LinkButton*>();
        QCOMPARE(link->accessibleName(), QStringLiteral("<b>Strona</b>"));
        link->setFocus(Qt::TabFocusReason);
        QTest::keyClick(link, Qt::Key_Return);
        QCOMPARE(opened.list(), QList<QByteArray>{"https://example.invalid/"});
        QTest::keyClick(windows.front(), Qt::Key_Escape);
        QTRY_VERIFY(openWindows(about->text()).isEmpty());
    }

    void theBrandMarkOpensItsWebSite() {
        OpenedAddresses opened;
        MorvikFooter mark;
        mark.show();
        QTest::mouseClick(&mark, Qt::LeftButton);
        QCOMPARE(opened.list().size(), 1);
        QVERIFY(opened.list().front().startsWith("https://"));
        QVERIFY(!mark.accessibleName().isEmpty());
    }

    void keysAreCleanedUpAtTheEndInOrder() {
        QStringList removed;
        {
            const MorvikAppDelegate delegate([&](const QString& key) { removed << key; });
            QVERIFY(QApplication::quitOnLastWindowClosed());
            MorvikAppDelegate::cleanupKeys = {QStringLiteral("b"), QStringLiteral("a")};
            QVERIFY(removed.isEmpty());
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
            QApplication::exec();
        }
        QCOMPARE(removed, (QStringList{"b", "a"}));
    }
};

QTEST_MAIN(FrameTest)
#include "FrameTest.moc"
