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
#include <QLineEdit>
#include <QUrl>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

/// Drags the addresses out of another program's window onto `target` of the screen, with the X
/// server's pointer. Whether they were taken.
bool dropFromOutside(const QStringList& addresses, const QPoint& target) {
    QProcess source;
    source.start(QCoreApplication::applicationDirPath() + "/kopertal_drag_source", addresses);
    if (!QTest::qWaitFor([&] { return source.canReadLine(); }, 10'000))
        return false;
    xdotool(QStringLiteral("mousemove 1580 1180 sleep 0.05 mousedown 1 sleep 0.05 "
                           "mousemove 1570 1170 mousemove %1 %2 sleep 0.1 "
                           "mousemove_relative 0 1 sleep 0.1 mouseup 1")
                .arg(target.x())
                .arg(target.y())
                .split(u' '));
    return QTest::qWaitFor([&] { return source.state() == QProcess::NotRunning; }, 10'000) &&
           source.exitCode() == 0;
}

} // namespace

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
        m_settings = std::make_unique<AppSettings>(PreferencesStore(m_folder->filePath("new")));
        openWindow();
        QVERIFY(sheet());
        pressKeys({"Escape", "Return", "ctrl+Return"});
        QVERIFY(sheet());

        typeText("   ");
        pressKeys({"Tab"});
        typeText("ul. Nowa 1, 00-001 Warszawa");
        pressKeys({"Tab", "Tab", "Tab", "Tab", "space"});
        QTRY_VERIFY(shows(sheet(), "Uzupełnij nazwę i adres nadawcy."));
        QVERIFY(m_settings->senderAddress().isEmpty());
        typeText("Pracownia ");
        pressKeys({"Tab", "Tab"});
        typeText("/no/such/folder");
        pressKeys({"Tab", "Tab", "Tab", "Return"});
        QTRY_VERIFY(shows(sheet(), "Wskaż istniejący folder zapisu."));
        QCOMPARE(namelessParts(), QStringList());
        QVERIFY(m_settings->senderName().isEmpty());
        pressKeys({"ctrl+a"});
        typeText(' ' + m_folder->path() + "  ");
        clickAt(shownButton(sheet(), "Zapisz"));
        QTRY_VERIFY(!sheet());
        QTRY_COMPARE(m_settings->senderName(), "Pracownia");
        QTRY_COMPARE(m_settings->saveFolder(), m_folder->path());
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
        pressKeys({"alt+e"});
        QCOMPARE(namelessParts(), QStringList()); // with the menu
        pressKeys({"Escape"});
        pressKeys({"ctrl+BackSpace"});
        QTRY_COMPARE(editor().text(), "");
        QTRY_VERIFY(shows(m_window.get(), "Wpisz adresy po lewej"));
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
        QVERIFY(makeButton()->hasFocus());
        const QStringList made = QDir(m_folder->path()).entryList({"*.docx"});
        QCOMPARE(made.size(), 2);
        QVERIFY2(made[1].endsWith("_1.docx"), qPrintable(made[1]));
    }

    void droppedFilesAreLoaded_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::newRow("a file in Windows-1250, with its line ends")
            << QByteArray("\xa3ukasz\r\nul. \x8cl\xb9ska 1\r\n\r\n") << "ą b"
            << "Łukasz\nul. Śląska 1\n\n";
        QTest::newRow("a folder is ignored") << QByteArray() << ""
                                             << "stary";
        QTest::newRow("a file that is gone is ignored") << QByteArray() << "brak.txt"
                                                        << "stary";
        QTest::newRow("a file beyond the editor's bound is refused")
            << QByteArray("A\nB\n\n").repeated(2'000'000) << "duży.txt"
            << "stary";
    }

    void droppedFilesAreLoaded() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, name);
        openWindow();
        typeText("stary");
        const QString path = m_folder->filePath(name);
        if (!bytes.isEmpty())
            test::writeFile(path, bytes);
        const QWidget* target = editor().viewport();
        QVERIFY(dropFromOutside({"https://example.invalid/a.txt",
                                 QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded),
                                 "file:///etc/passwd"},
                                target->mapToGlobal(target->rect().center())));
        QTest::qWait(300);
        QFETCH(QString, text);
        QTRY_COMPARE(editor().text(), text);
        if (bytes.size() > maxEditorText) {
            closeAlertThatSays("Tekst jest za duży");
        } else if (!bytes.isEmpty()) {
            m_window->activateWindow(); // the other program had the keyboard
            QTRY_VERIFY(m_window->isActiveWindow());
            pressKeys({"ctrl+z"});
            QTRY_COMPARE(editor().text(), "stary");
        }
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

    void alertsBreakLongWords() {
        for (const QString& name :
             {QString(200, u'x'), QStringLiteral("rejestr_przesyłek.").repeated(12),
              QStringLiteral("💌").repeated(100), QStringLiteral("z\u0307").repeated(200)}) {
            const QString message = "/home/kasia/" + name + "/k.docx: No such file or directory";
            showError(message);
            QTRY_VERIFY(openAlert() && openAlert()->isActiveWindow());
            const auto* words = openAlert()->findChild<QLabel*>("qt_msgbox_informativelabel");
            const QRect room = words->contentsRect();
            const QRect needed =
                words->fontMetrics().boundingRect(room, Qt::TextWordWrap, words->text());
            QVERIFY(needed.width() <= room.width() && needed.height() <= room.height());
            QVERIFY(openAlert()->rect().contains(words->geometry()));
            QCOMPARE(QString(words->text()).remove(QChar(0x200B)), message);
            QCOMPARE(words->accessibleName(), message);
            for (const QString& part : words->text().split(QChar(0x200B)))
                QVERIFY(part.isEmpty() || !(part[0].isLowSurrogate() || part[0].isMark()));
            pressKeys({"Return"});
            QTRY_VERIFY(!openAlert());
        }
    }

    void settingsWindowStaysUntilClosed() {
        openWindow();
        pressKeys({"ctrl+comma"});
        QTRY_VERIFY(QApplication::activeWindow() != m_window.get() && QApplication::activeWindow());
        QWidget* settings = QApplication::activeWindow();
        QCOMPARE(namelessParts(), QStringList());
        pressKeys({"ctrl+a"});
        typeText("Nowa Nazwa");
        clickAt(shownButton(settings, "Zapisz"));
        QTRY_COMPARE(m_settings->senderName(), "Nowa Nazwa");
        settings->findChild<QLineEdit*>()->setFocus();
        typeText("X");
        clickAt(shownButton(settings, "Anuluj"));
        QVERIFY(settings->isVisible());
        QCOMPARE(m_settings->senderName(), "Nowa Nazwa");
        m_window->close();
        QVERIFY(!m_window->isVisible());
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
