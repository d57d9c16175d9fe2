#include "app/addresses/AddressView.h"
#include "app/settings/AppSettings.h"
#include "app/shell/MainWindow.h"
#include "tests/app/StandInPrinter.h"
#include "tests/document/RenderedPages.h"
#include "tests/support/RealKeys.h"
#include "ui/LimeActionButton.h"
#include "ui/MorvikStyle.h"
#include "ui/Sheet.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>

#include <memory>

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
        m_settings = std::make_unique<AppSettings>(
            PreferencesStore(m_folder->filePath(QStringLiteral("settings.json"))));
        m_settings->setSenderName(QStringLiteral("Nadawca"));
        m_settings->setSenderAddress(QStringLiteral("ul. Nowa 1"));
        m_settings->setSaveFolder(m_folder->path());
        m_window = std::make_unique<MainWindow>(*m_settings);
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        QApplication::clipboard()->setText(QStringLiteral("Żak\nul. Krótka 2\n\n").repeated(111));
        pressKeys({"ctrl+v", "ctrl+Return"});
        QTRY_VERIFY_WITH_TIMEOUT(shownSheets() == 1, 20000);
    }

    void cleanup() {
        m_window.reset();
        QCOMPARE(m_cups->leftBehind(), QStringList());
        m_cups.reset();
    }

    void chosenPagesArePrinted() {
        m_cups->setPrinters({QStringLiteral("Magazyn"), QStringLiteral("Biuro")},
                            QStringLiteral("Biuro"));
        openForm();
        pressKeys({"Tab", "Tab", "Tab"}); // from the button by the printer and the copies
        typeText("12-13");
        pressKeys({"Return"});
        QTRY_VERIFY(
            showsText(QStringLiteral("Dokument nie ma takich stron. Liczba jego stron: 12.")));
        pressKeys({"ctrl+a"});
        typeText("11-");
        // Past the sets: with one copy there is no choice.
        pressKeys({"shift+Tab", "ctrl+a"});
        typeText("2");
        pressKeys({"Tab", "Tab", "Tab", "Tab", "Return"});
        QTRY_VERIFY(!button(QStringLiteral("Drukuj"))); // or a second press would print twice
        QTRY_VERIFY_WITH_TIMEOUT(
            showsText(QStringLiteral("Wysłano do drukarki „Biuro”: 2 strony.")), 120000);
        QCOMPARE(m_cups->jobs(), 1);
        QCOMPARE(printedPages(m_cups->pdf(1)).size(), 2);
        QCOMPARE(m_cups->arguments(1).first(6),
                 QStringList({"-d", "Biuro", "-n", "2", "-o", "collate=true"}));
        pressKeys({"Return"});
        QTRY_COMPARE(shownSheets(), 1); // the one that offers to print stays
        QVERIFY(button(QStringLiteral("Otwórz")));
    }

    void stoppingClosesTheSheet_data() {
        QTest::addColumn<QString>("way");
        QTest::newRow("by its button") << "button";
        QTest::newRow("by Escape") << "escape";
        QTest::newRow("with the window") << "window";
    }

    void stoppingClosesTheSheet() {
        QFETCH(QString, way);
        openForm();
        pressKeys({"Return"});
        QTRY_VERIFY_WITH_TIMEOUT(showsText(QStringLiteral("Przygotowywanie stron: 0 z 12")), 20000);
        QVERIFY(!m_cups->leftBehind().isEmpty());
        if (way == QStringLiteral("window")) {
            m_window->close();
            return; // what is left is looked for
        }
        if (way == QStringLiteral("button"))
            clickAt(button(QStringLiteral("Anuluj")));
        else
            pressKeys({"Escape"});
        QTRY_COMPARE(shownSheets(), 1);
        QCOMPARE(m_cups->jobs(), 0);
    }

    void theFormComesBackAfterAFailure() {
        m_cups->addProgram(QStringLiteral("soffice"), QStringLiteral("exit 1"));
        openForm();
        const auto* form = button(QStringLiteral("Drukuj"))->parentWidget();
        const QSize size = form->size();
        pressKeys({"Return"});
        QTRY_VERIFY_WITH_TIMEOUT(alert(), 20000);
        pressKeys({"Return"});
        QTRY_VERIFY(!alert());
        QTRY_COMPARE(form->size(), size);
        QTRY_COMPARE(form->parentWidget()->size(), size); // nothing is scrolled
        QVERIFY(showsText(QStringLiteral("Puste pole: wszystkie (12 stron).")));
    }

    void failuresAreShown_data() {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("sheets"); // that are left
        QTest::newRow("before the choice") << "lpstat"
                                           << "System nie ma żadnej drukarki." << 1;
        QTest::newRow("after it") << "soffice"
                                  << "LibreOffice nie przygotował stron" << 2;
    }

    void failuresAreShown() {
        QFETCH(QString, obstacle);
        QFETCH(QString, message);
        m_cups->addProgram(obstacle, QStringLiteral("exit 1"));
        if (obstacle == QStringLiteral("soffice")) {
            openForm();
            pressKeys({"Return"});
        } else {
            clickAt(button(QStringLiteral("Drukuj")));
        }
        QTRY_VERIFY_WITH_TIMEOUT(alert(), 20000);
        QVERIFY2(alert()->informativeText().startsWith(message),
                 qPrintable(alert()->informativeText()));
        QTRY_VERIFY(alert()->isActiveWindow());
        pressKeys({"Return"});
        QTRY_VERIFY(!alert());
        QFETCH(int, sheets);
        QTRY_COMPARE(shownSheets(), sheets);
    }

private:
    void openForm() {
        clickAt(button(QStringLiteral("Drukuj")));
        QTRY_COMPARE(shownSheets(), 2);
        auto* pages = m_window->findChild<QLineEdit*>(QStringLiteral("pages"));
        QTRY_VERIFY_WITH_TIMEOUT(pages->isVisible(), 20000);
        QTRY_VERIFY(button(QStringLiteral("Drukuj"))->hasFocus());
        QTest::qWait(100); // until the panel has its size
    }

    int shownSheets() const {
        int count = 0;
        for (const auto* sheet : m_window->findChildren<morvik::Sheet*>())
            count += sheet->isVisible();
        return count;
    }

    /// The foremost one of that title.
    morvik::LimeActionButton* button(const QString& title) const {
        morvik::LimeActionButton* found = nullptr;
        const auto shown = m_window->findChildren<morvik::Sheet*>();
        for (auto* each : shown.isEmpty()
                              ? QList<morvik::LimeActionButton*>()
                              : shown.last()->findChildren<morvik::LimeActionButton*>()) {
            if (each->isVisible() && each->text() == title)
                found = each;
        }
        return found;
    }

    bool showsText(const QString& text) const {
        const auto labels = m_window->findChildren<QLabel*>();
        return std::ranges::any_of(labels, [&](const QLabel* label) {
            return label->isVisible() && label->text() == text;
        });
    }

    QMessageBox* alert() const {
        return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<StandInPrinter> m_cups;
    std::unique_ptr<AppSettings> m_settings;
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(PrintRoadTest)
#include "PrintRoadTest.moc"
