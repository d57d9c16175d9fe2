#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/addresses/TextBounds.h"
#include "app/common/ErrorAlert.h"
#include "app/shell/MainWindow.h"
#include "tests/support/Files.h"
#include "tests/support/Nameless.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "ui/MorvikStyle.h"

#include <QClipboard>
#include <QDir>
#include <QDropEvent>
#include <QMimeData>
#include <QScreen>

using namespace kopertal;
using namespace kopertal::testing;

/// The way through the window by the X server's keys and pointer.
class WindowRoadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        morvik::MorvikStyle::install(*qApp);
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_settings = readySettings(*m_folder);
    }

    void cleanup() {
        if (openAlert())
            openAlert()->close();
        m_window.reset();
        m_settings.reset();
    }

    void asksForTheSenderFirst() {
        const PreferencesStore store(m_folder->filePath("new"));
        m_settings = std::make_unique<AppSettings>(store);
        openWindow();
        QVERIFY(sheet());
        pressKeys({"Escape", "Return", "ctrl+Return"});
        QVERIFY(sheet());

        typeText("   ");
        pressKeys({"Tab"});
        typeText("ul. Nowa 1, 00-001 Warszawa");
        pressKeys({"Tab", "Tab", "Tab", "Tab", "space"});
        QTRY_VERIFY(shows(sheet(), "Uzupełnij nazwę i adres nadawcy."));
        typeText("Pracownia ");
        pressKeys({"Tab", "Tab"});
        typeText("/no/such/folder");
        pressKeys({"Tab", "Tab", "Tab", "Return"});
        QTRY_VERIFY(shows(sheet(), "Wskaż istniejący folder zapisu."));
        QCOMPARE(namelessParts(), QStringList());
        QVERIFY(m_settings->senderName().isEmpty() && m_settings->senderAddress().isEmpty());
        pressKeys({"ctrl+a"});
        typeText(' ' + m_folder->path() + "  ");
        clickAt(shownButton(sheet(), "Zapisz"));
        QTRY_VERIFY(!sheet());
        const AppSettings next(store);
        QCOMPARE(next.senderName(), "Pracownia");
        QCOMPARE(next.senderAddress(), "ul. Nowa 1, 00-001 Warszawa");
        QCOMPARE(next.saveFolder(), m_folder->path());
    }

    void keysForTheEmptyFrameAreNotLost() {
        m_window = std::make_unique<MainWindow>(*m_settings);
        m_window->show();
        QVERIFY(!m_window->centralWidget());
        for (const char key : {'A', 'n'})
            QTest::keyClick(m_window->windowHandle(), key);
        QCOMPARE(editor().text(), "An");
    }

    void makesRegistersFromTypedAndPastedAddresses() {
        openWindow();
        typeText("Anna");
        QTRY_VERIFY(shows(m_window.get(), "Pominięte wpisy (za mało linii):"));
        QVERIFY(!makeButton()->isEnabled());
        pressKeys({"Return"});
        typeText("ul. X 1");
        pressKeys({"Return", "Return"});
        QTRY_VERIFY(shows(m_window.get(), "1 adres  ·  1 strona"));
        QApplication::clipboard()->setText("B\nC\n\nD\nE\r\n\r\nsam");
        pressKeys({"ctrl+v"});
        const QString before = "Anna\nul. X 1\n\nB\nC\n\nD\nE\n\nsam\n\n";
        QTRY_COMPARE(editor().text(), before);
        QTRY_VERIFY(shows(m_window.get(), "3 adresy  ·  1 strona"));
        pressKeys({"ctrl+BackSpace"});
        QTRY_COMPARE(editor().text(), "");
        pressKeys({"ctrl+z"});
        QTRY_COMPARE(editor().text(), before);

        pressKeys({"ctrl+Return"});
        QTRY_VERIFY_WITH_TIMEOUT(sheet(), 20000);
        QTRY_VERIFY(shows(sheet(), "3 adresów  ·  1 strona"));
        QCOMPARE(namelessParts(), QStringList());
        pressKeys({"ctrl+Return", "ctrl+BackSpace"}); // held by the sheet
        QTRY_COMPARE(editor().text(), before);
        pressKeys({"Return"});
        QTRY_VERIFY(!sheet());
        pressKeys({"Tab", "Return"});
        QTRY_VERIFY_WITH_TIMEOUT(sheet(), 20000);
        pressKeys({"Escape"});
        QTRY_VERIFY(!sheet());
        const QStringList made = QDir(m_folder->path()).entryList({"*.docx"});
        QCOMPARE(made.size(), 2);
        QVERIFY2(made[1].endsWith("_1.docx"), qPrintable(made[1]));
    }

    void droppedFilesAreLoaded() {
        openWindow();
        typeText("stary");
        drop("brak.txt");
        QTest::qWait(300);
        QTRY_COMPARE(editor().text(), "stary");

        test::writeFile(m_folder->filePath("duży.txt"), QByteArray("A\nB\n\n").repeated(2'000'000));
        drop("duży.txt");
        closeAlertThatSays("Tekst jest za duży");
        QTRY_COMPARE(editor().text(), "stary");

        test::writeFile(m_folder->filePath("ą b"), "\xa3ukasz\r\nul. \x8cl\xb9ska 1\r\n\r\n");
        drop("ą b");
        QTRY_COMPARE(editor().text(), "Łukasz\nul. Śląska 1\n\n");
        pressKeys({"ctrl+z"});
        QTRY_COMPARE(editor().text(), "stary");
    }

    void failuresAreShownAndLoseNothing() {
        const QString folder = m_folder->filePath("zapis");
        m_settings->setSaveFolder(folder);
        openWindow();
        QApplication::clipboard()->setText("A\nB");
        pressKeys({"ctrl+v", "ctrl+Return"});
        closeAlertThatSays(folder);
        QVERIFY(!m_window->addresses().isGenerating());
        QVERIFY(!sheet());
        QTRY_COMPARE(editor().text(), "A\nB\n\n");
        QVERIFY(makeButton()->isEnabled());
    }

    void wordsOfOthersAreShownAsTheyAre() {
        const QString words = QString("<h1>&amp; <b>x</b>\n").repeated(300);
        showError(words);
        QTRY_VERIFY(openAlert() && openAlert()->isActiveWindow());
        for (const auto* label : openAlert()->findChildren<QLabel*>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
        QVERIFY(words.startsWith(openAlert()->informativeText().chopped(1)));
        QVERIFY(openAlert()->height() < openAlert()->screen()->availableGeometry().height());
    }

    void settingsWindowStaysUntilClosed() {
        openWindow();
        pressKeys({"ctrl+comma"});
        QTRY_VERIFY(QApplication::activeWindow() && !m_window->isActiveWindow());
        QWidget* settings = QApplication::activeWindow();
        QCOMPARE(namelessParts(), QStringList());
        pressKeys({"ctrl+a"});
        typeText("Nowa Nazwa");
        clickAt(shownButton(settings, "Zapisz"));
        QTRY_COMPARE(m_settings->senderName(), "Nowa Nazwa");
        typeText("X");
        clickAt(shownButton(settings, "Anuluj"));
        QCOMPARE(m_settings->senderName(), "Nowa Nazwa");
        QVERIFY(settings->isVisible());
        settings->showMinimized();
        QTRY_VERIFY(m_window->isActiveWindow());
        pressKeys({"ctrl+comma"});
        QTRY_VERIFY(settings->isActiveWindow()); // out of the task bar
        pressKeys({"ctrl+q"});
        QTRY_VERIFY(!m_window->isVisible());
        QTRY_COMPARE(QApplication::topLevelWidgets().contains(settings), false);
    }

    void saysOnceThatSettingsAreNotSaved() {
        const PreferencesStore store(m_folder->filePath("config/settings.json"));
        m_settings = std::make_unique<AppSettings>(store);
        const QString inTheWay = test::writeFile(m_folder->filePath("config"), {});
        openWindow();
        m_settings->setSenderName("B");
        m_settings->setSenderAddress("C");
        closeAlertThatSays("Nie udało się zapisać ustawień");
        m_settings->appendSentBook({QUuid::createUuid(), "2026-05-04", {}, {}});
        QCOMPARE(m_settings->loadSentBooks().size(), 1); // kept for this run
        QTest::qWait(100);
        QVERIFY(!openAlert());

        QVERIFY(QFile::remove(inTheWay));
        m_settings->appendSentBook({QUuid::createUuid(), "2026-05-05", {}, {}});
        QCOMPARE(m_settings->loadSentBooks().size(), 2);
        QCOMPARE(AppSettings(store).loadSentBooks(), m_settings->loadSentBooks());
    }

private:
    void openWindow() {
        m_window = std::make_unique<MainWindow>(*m_settings);
        activate(*m_window);
        QTest::qWait(200);
    }

    /// Of the test's folder, between what is none.
    void drop(const QString& file) {
        QMimeData carried;
        carried.setUrls({QUrl("https://example.invalid/a.txt"),
                         QUrl::fromLocalFile(m_folder->filePath(file)),
                         QUrl("file:///etc/passwd")});
        QDragEnterEvent enter({}, Qt::CopyAction, &carried, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(editor().viewport(), &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop({}, Qt::CopyAction, &carried, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(editor().viewport(), &drop);
    }

    void closeAlertThatSays(const QString& start) {
        QTRY_VERIFY_WITH_TIMEOUT(openAlert(), 20000);
        const QString told = openAlert()->informativeText();
        QVERIFY2(told.startsWith(start), qPrintable(told));
        QTRY_VERIFY(openAlert()->isActiveWindow());
        QCOMPARE(namelessParts(), QStringList());
        pressKeys({"Return"});
        QTRY_VERIFY(!openAlert());
    }

    AddressTextEditor& editor() { return m_window->addresses().editor(); }
    morvik::KitButton* makeButton() { return shownButton(m_window.get(), "Stwórz kopertal"); }

    morvik::Sheet* sheet() const { return frontSheet(m_window.get()); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<AppSettings> m_settings;
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(WindowRoadTest)
#include "WindowRoadTest.moc"
