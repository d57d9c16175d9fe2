#include "tests/support/OpenedAddresses.h"
#include "ui/AboutPanel.h"
#include "ui/LinkButton.h"
#include "ui/MorvikAboutCommand.h"
#include "ui/MorvikHelpCommands.h"
#include "ui/MorvikStyle.h"

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QTest>

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

    void reportsAreEncodedAsAQuery() {
        const std::pair<QString, QString> cases[] = {
            {"Żółć 2", "%C5%BB%C3%B3%C5%82%C4%87%202"},
            {"a!$&'()*+,;=:@/?-._~", "a!$&'()*+,;=:@/?-._~"},
            {"#%\"<>[]\\^`{|}\n", "%23%25%22%3C%3E%5B%5D%5C%5E%60%7B%7C%7D%0A"},
            {QChar(0xD800), QChar(0xD800)}}; // no text
        for (const auto& [name, encoded] : cases)
            QCOMPARE(reportAddress(name, QStringLiteral("a@b.example")),
                     QStringLiteral("mailto:a@b.example?subject=") + encoded +
                         QStringLiteral("%20-%20zg%C5%82oszenie"));
    }

    void reportsAreHandedOverUnchanged() {
        OpenedAddresses opened;
        QMenu menu;
        MorvikHelpWindowCommand{QStringLiteral("Kopertal"), QStringLiteral("a@b.example"), {}}
            .addTo(&menu);
        menu.actions().at(1)->trigger();
        QCOMPARE(opened.list(), QList<QByteArray>{"mailto:a@b.example?subject=Kopertal%20-%20zg%C5%"
                                                  "82oszenie"});
        QMenu broken;
        MorvikHelpWindowCommand{QStringLiteral("X"), QStringLiteral("a b@[c"), {}}.addTo(&broken);
        broken.actions().at(1)->trigger();
        QCOMPARE(opened.list().size(), 1);
    }

    void webHelpMenusHaveTheirDividers() {
        const auto address = QStringLiteral("https://example.invalid/h%20?a=ż");
        const std::optional<QString> some(address);
        const std::optional<QString> none;
        const struct {
            std::optional<QString> rate, terms, privacy;
            QString items;
        } cases[] = {
            {some, some, some, "|Oceń program K|-|Warunki korzystania|Polityka prywatności"},
            {some, none, none, "|Oceń program K"},
            {none, some, none, "|-|Warunki korzystania"},
            {some, none, some, "|Oceń program K|-|Polityka prywatności"},
            {none, none, none, ""}};
        for (const auto& [rate, terms, privacy, items] : cases) {
            QMenu menu;
            MorvikHelpCommands{QStringLiteral("K"), address, rate, terms, privacy}.addTo(&menu);
            QCOMPARE(titles(menu).join(u'|'), QStringLiteral("K — pomoc programu|-") + items);
            OpenedAddresses opened;
            menu.actions().front()->trigger();
            QCOMPARE(opened.list(), QList<QByteArray>{"https://example.invalid/h%20?a=%C5%BC"});
        }
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
};

QTEST_MAIN(FrameTest)
#include "FrameTest.moc"
