#include "tests/support/OpenedAddresses.h"
#include "ui/LinkButton.h"
#include "ui/MorvikAboutCommand.h"
#include "ui/MorvikHelpCommands.h"
#include "ui/MorvikStyle.h"

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QTest>

using namespace morvik;
using kopertal::testing::OpenedAddresses;

/// The commands that frame a program.
class FrameTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        MorvikStyle::install(*qApp);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void reportsAreHandedOverUnchanged() {
        const std::pair<QString, QByteArray> cases[] = {
            {"Żółć 2", "%C5%BB%C3%B3%C5%82%C4%87%202"},
            {"a!$&'()*+,;=:@/?-._~", "a!$&'()*+,;=:@/?-._~"},
            {"#%\"<>[]\\^`{|}\n", "%23%25%22%3C%3E%5B%5D%5C%5E%60%7B%7C%7D%0A"}};
        OpenedAddresses opened;
        QList<QByteArray> expected;
        const auto report = [](const QString& name, const QString& email) {
            QMenu menu;
            MorvikHelpWindowCommand{name, email, {}}.addTo(&menu);
            menu.actions().at(1)->trigger();
        };
        for (const auto& [name, encoded] : cases) {
            report(name, "a@b.example");
            expected << "mailto:a@b.example?subject=" + encoded + "%20-%20zg%C5%82oszenie";
            QCOMPARE(opened.list(), expected);
        }
        report("X", "a b@[c");
        QCOMPARE(opened.list(), expected);
        QCOMPARE(queryEncoded(QChar(0xD800)), QChar(0xD800)); // no text
    }

    void theAboutPanelTellsFourThings() {
        QMenu menu;
        QAction* about =
            MorvikAboutCommand{"Kopertal", "1.2", "451", "Strona", "https://example.invalid/"}
                .insertInto(&menu, nullptr);
        about->trigger();
        QTRY_VERIFY(QApplication::activeWindow());
        const QWidget* panel = QApplication::activeWindow();
        QCOMPARE(panel->windowTitle(), about->text());
        QStringList texts;
        for (const QLabel* label : panel->findChildren<QLabel*>())
            texts << label->text();
        QVERIFY(texts.contains("Kopertal") && texts.contains("Wersja 1.2 (451)"));
        OpenedAddresses opened;
        QTest::keyClick(panel->findChild<LinkButton*>(), Qt::Key_Return);
        QCOMPARE(opened.list(), QList<QByteArray>{"https://example.invalid/"});
    }
};

QTEST_MAIN(FrameTest)
#include "FrameTest.moc"
