#include "app/addresses/AddressView.h"
#include "app/shell/MainWindow.h"
#include "tests/app/StandInPrinter.h"
#include "tests/document/RenderedPages.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "ui/MorvikStyle.h"

#include <QClipboard>
#include <QLineEdit>

using namespace kopertal;
using namespace kopertal::test;
using namespace kopertal::testing;

/// From a made register to the printer, by the X server's keys and pointer.
class PrintRoadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void registersArePrinted() {
        morvik::MorvikStyle::install(*qApp);
        QApplication::setQuitOnLastWindowClosed(false);
        activate(*m_window);
        QApplication::clipboard()->setText(QString("Żak\nul. Krótka 2\n\n").repeated(111));
        pressKeys({"ctrl+v", "ctrl+Return"});
        QTRY_COMPARE_WITH_TIMEOUT(countSheets(), 1, 20000);
        m_cups.setPrinters({"Magazyn", "Biuro"}, "Biuro");

        m_cups.addProgram("soffice", "exit 1");
        openForm();
        pressKeys({"Return"});
        QTRY_VERIFY_WITH_TIMEOUT(openAlert() && openAlert()->isActiveWindow(), 20000);
        QVERIFY(openAlert()->informativeText().startsWith("LibreOffice nie przygotował stron"));
        pressKeys({"Return"});
        QTRY_VERIFY(!openAlert() && showsText("Puste pole: wszystkie (12 stron)."));
        pressKeys({"Escape"});
        QTRY_COMPARE(countSheets(), 1); // the one that offers to print stays
        QFile::remove(m_cups.programs() + "/soffice");

        openForm();
        pressKeys({"Return"});
        QTRY_VERIFY_WITH_TIMEOUT(showsText("Przygotowywanie stron: 0 z 12"), 20000);
        pressKeys({"Escape"});
        QTRY_COMPARE(countSheets(), 1);

        openForm();
        pressKeys({"Tab", "Tab", "Tab"}); // from the button by the printer and the copies
        typeText("11-");
        // Past the sets: with one copy there is no choice.
        pressKeys({"shift+Tab", "ctrl+a"});
        typeText("2");
        pressKeys({"Tab", "Tab", "Tab", "Tab", "Return"});
        QTRY_VERIFY(!button("Drukuj")); // or a second press would print twice
        QTRY_VERIFY_WITH_TIMEOUT(showsText("Wysłano do drukarki „Biuro”: 2 strony."), 60000);
        QCOMPARE(printedPages(m_cups.pdf(1)).size(), 2);
        QCOMPARE(m_cups.arguments(1).first(6),
                 QStringList({"-d", "Biuro", "-n", "2", "-o", "collate=true"}));
        pressKeys({"Return"});
        QTRY_COMPARE(countSheets(), 1);

        openForm();
        pressKeys({"Return"});
        QTRY_VERIFY_WITH_TIMEOUT(showsText("Przygotowywanie stron: 0 z 12"), 20000);
        QVERIFY(!m_cups.leftBehind().isEmpty());
        pressKeys({"alt+F4"});
        QTRY_VERIFY(!m_window->isVisible());
        m_window.reset();
        QCOMPARE(m_cups.leftBehind(), QStringList());
        QCOMPARE(m_cups.jobs(), 1);
    }

private:
    void openForm() {
        clickAt(button("Drukuj"));
        QTRY_COMPARE(countSheets(), 2);
        QTest::qWait(500); // until no sheet moves, nor gives the keyboard back
        auto* pages = m_window->findChild<QLineEdit*>("pages");
        QTRY_VERIFY_WITH_TIMEOUT(pages->isVisible() && button("Drukuj")->hasFocus(), 20000);
    }

    qsizetype countSheets() const { return shownSheets(m_window.get()).size(); }

    /// On the foremost sheet.
    morvik::KitButton* button(const QString& title) const {
        return shownButton(frontSheet(m_window.get()), title);
    }

    bool showsText(const QString& text) const { return shows(m_window.get(), text); }

    QTemporaryDir m_folder; // not where the stand-in leads temporary files
    StandInPrinter m_cups;
    std::unique_ptr<AppSettings> m_settings = readySettings(m_folder);
    std::unique_ptr<MainWindow> m_window = std::make_unique<MainWindow>(*m_settings);
};

QTEST_MAIN(PrintRoadTest)
#include "PrintRoadTest.moc"
