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
    void initTestCase() {
        morvik::MorvikStyle::install(*qApp);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_cups = std::make_unique<StandInPrinter>();
        m_settings = readySettings(*m_folder);
        m_window = std::make_unique<MainWindow>(*m_settings);
        activate(*m_window);
        QApplication::clipboard()->setText(QString("Żak\nul. Krótka 2\n\n").repeated(111));
        pressKeys({"ctrl+v", "ctrl+Return"});
        QTRY_VERIFY_WITH_TIMEOUT(countSheets() == 1, 20000);
    }

    void cleanup() {
        m_window.reset();
        QCOMPARE(m_cups->leftBehind(), QStringList());
        m_cups.reset();
    }

    void chosenPagesArePrinted() {
        m_cups->setPrinters({"Magazyn", "Biuro"}, "Biuro");
        openForm();
        pressKeys({"Tab", "Tab", "Tab"}); // from the button by the printer and the copies
        typeText("12-13");
        pressKeys({"Return"});
        QTRY_VERIFY(showsText("Dokument nie ma takich stron. Liczba jego stron: 12."));
        pressKeys({"ctrl+a"});
        typeText("11-");
        // Past the sets: with one copy there is no choice.
        pressKeys({"shift+Tab", "ctrl+a"});
        typeText("2");
        pressKeys({"Tab", "Tab", "Tab", "Tab", "Return"});
        QTRY_VERIFY(!button("Drukuj")); // or a second press would print twice
        QTRY_VERIFY_WITH_TIMEOUT(showsText("Wysłano do drukarki „Biuro”: 2 strony."), 120000);
        QCOMPARE(m_cups->jobs(), 1);
        QCOMPARE(printedPages(m_cups->pdf(1)).size(), 2);
        QCOMPARE(m_cups->arguments(1).first(6),
                 QStringList({"-d", "Biuro", "-n", "2", "-o", "collate=true"}));
        pressKeys({"Return"});
        QTRY_COMPARE(countSheets(), 1); // the one that offers to print stays
        QVERIFY(button("Otwórz"));
    }

    void stoppingClosesTheSheet() {
        for (const QString key : {"Return", "Escape", "alt+F4"}) {
            openForm();
            pressKeys({"Return"});
            QTRY_VERIFY_WITH_TIMEOUT(showsText("Przygotowywanie stron: 0 z 12"), 20000);
            QVERIFY(!m_cups->leftBehind().isEmpty());
            pressKeys({key});
            QTRY_COMPARE(countSheets(), key == "alt+F4" ? 0 : 1);
        }
        m_window.reset();
        QCOMPARE(m_cups->jobs(), 0);
    }

    void failuresAreTold() {
        m_cups->addProgram("soffice", "exit 1");
        openForm();
        const auto* form = button("Drukuj")->parentWidget();
        const QSize size = form->size();
        pressKeys({"Return"});
        closeAlertThatSays("LibreOffice nie przygotował stron");
        QTRY_COMPARE(form->size(), size);                 // it is back
        QTRY_COMPARE(form->parentWidget()->size(), size); // nothing is scrolled
        QVERIFY(showsText("Puste pole: wszystkie (12 stron)."));
        pressKeys({"Escape"});
        QTRY_COMPARE(countSheets(), 1);

        m_cups->addProgram("lpstat", "exit 1");
        clickAt(button("Drukuj"));
        closeAlertThatSays("System nie ma żadnej drukarki.");
        QTRY_COMPARE(countSheets(), 1);
    }

private:
    void openForm() {
        clickAt(button("Drukuj"));
        QTRY_COMPARE(countSheets(), 2);
        auto* pages = m_window->findChild<QLineEdit*>("pages");
        QTRY_VERIFY_WITH_TIMEOUT(pages->isVisible(), 20000);
        QTRY_VERIFY(button("Drukuj")->hasFocus());
        QTest::qWait(100); // until the panel has its size
    }

    qsizetype countSheets() const { return shownSheets(m_window.get()).size(); }

    /// On the foremost sheet.
    morvik::KitButton* button(const QString& title) const {
        const auto sheets = shownSheets(m_window.get());
        return sheets.isEmpty() ? nullptr : shownButton(sheets.last(), title);
    }

    bool showsText(const QString& text) const { return shows(m_window.get(), text); }

    static void closeAlertThatSays(const QString& message) {
        QTRY_VERIFY_WITH_TIMEOUT(openAlert(), 20000);
        QVERIFY2(openAlert()->informativeText().startsWith(message),
                 qPrintable(openAlert()->informativeText()));
        QTRY_VERIFY(openAlert()->isActiveWindow());
        pressKeys({"Return"});
        QTRY_VERIFY(!openAlert());
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<StandInPrinter> m_cups;
    std::unique_ptr<AppSettings> m_settings;
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(PrintRoadTest)
#include "PrintRoadTest.moc"
