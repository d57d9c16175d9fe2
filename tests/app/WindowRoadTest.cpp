#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/addresses/TextBounds.h"
#include "app/common/ErrorAlert.h"
#include "app/shell/MainWindow.h"
#include "tests/support/DragSource.h"
#include "tests/support/Files.h"
#include "tests/support/Nameless.h"
#include "tests/support/ShownParts.h"
#include "ui/MorvikStyle.h"
#include "ui/SmallButtons.h"

#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QLineEdit>

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
        m_settings = std::make_unique<AppSettings>(
            PreferencesStore(m_folder->filePath(QStringLiteral("settings.json"))));
    }

    void cleanup() {
        if (openAlert())
            openAlert()->close();
        m_window.reset();
        m_settings.reset();
    }

    void asksForTheSenderFirst() {
        openWindow();
        QVERIFY(sheet());
        QVERIFY(qobject_cast<QLineEdit*>(QApplication::focusWidget()));
        pressKeys({"Escape", "Return", "ctrl+Return"});
        QVERIFY(sheet());

        const QString incomplete = QStringLiteral("Uzupełnij nazwę i adres nadawcy.");
        const QString noFolder = QStringLiteral("Wskaż istniejący folder zapisu.");
        typeText("   ");
        pressKeys({"Tab"});
        typeText("ul. Nowa 1, 00-001 Warszawa");
        pressKeys({"Tab", "Tab", "Tab", "Tab", "space"});
        QTRY_VERIFY(shows(sheet(), incomplete));
        QVERIFY(m_settings->senderAddress().isEmpty());
        typeText("Pracownia ");
        pressKeys({"Tab", "Tab"});
        typeText("/no/such/folder");
        pressKeys({"Tab", "Tab", "Tab", "Return"});
        QTRY_VERIFY(shows(sheet(), noFolder));
        QVERIFY(m_settings->senderName().isEmpty());
        pressKeys({"ctrl+a"});
        typeText(QStringLiteral(" ") + m_folder->path() + QStringLiteral("  "));
        clickAt(shownButton(sheet(), QStringLiteral("Zapisz")));
        QTRY_VERIFY(!sheet());
        QTRY_COMPARE(m_settings->senderName(), QStringLiteral("Pracownia"));
        QTRY_COMPARE(m_settings->saveFolder(), m_folder->path());
    }

    void cancellingLeavesTheSenderAlone() {
        openWindow();
        typeText("X");
        clickAt(shownButton(sheet(), QStringLiteral("Anuluj")));
        QTRY_VERIFY(!sheet());
        QVERIFY(m_settings->senderName().isEmpty());
        typeText("A");
        QTRY_COMPARE(editor().text(), QStringLiteral("A"));
    }

    void makesRegistersFromTypedAndPastedAddresses() {
        openReadyWindow();
        QVERIFY(!sheet());
        QVERIFY(!shownButton(m_window.get(), QStringLiteral("Stwórz kopertal"))->isEnabled());
        typeText("Anna");
        QTRY_VERIFY(shows(m_window.get(), QStringLiteral("Pominięte wpisy (za mało linii):")));
        QVERIFY(!shownButton(m_window.get(), QStringLiteral("Stwórz kopertal"))->isEnabled());
        pressKeys({"Return"});
        typeText("ul. X 1");
        pressKeys({"Return", "Return"});
        QTRY_VERIFY(shows(m_window.get(), QStringLiteral("1 adres  ·  1 strona")));
        QApplication::clipboard()->setText(QStringLiteral("B\nC\n\nD\nE\r\n\r\nsam"));
        pressKeys({"ctrl+v"});
        QTRY_COMPARE(editor().text(), QStringLiteral("Anna\nul. X 1\n\nB\nC\n\nD\nE\n\nsam\n\n"));
        QTRY_VERIFY(shows(m_window.get(), QStringLiteral("3 adresy  ·  1 strona")));
        const QString before = editor().text();
        pressKeys({"ctrl+BackSpace"});
        QTRY_COMPARE(editor().text(), QString());
        QTRY_VERIFY(shows(m_window.get(), QStringLiteral("Wpisz adresy po lewej")));
        pressKeys({"ctrl+z"});
        QTRY_COMPARE(editor().text(), before);

        pressKeys({"ctrl+Return"});
        QTRY_VERIFY_WITH_TIMEOUT(sheet(), 20000);
        QTRY_VERIFY(shows(sheet(), QStringLiteral("3 adresów  ·  1 strona")));
        pressKeys({"ctrl+Return", "ctrl+BackSpace"}); // held by the sheet
        QTRY_COMPARE(editor().text(), before);
        pressKeys({"Return"});
        QTRY_VERIFY(!sheet());
        pressKeys({"Tab", "Return"});
        QTRY_VERIFY_WITH_TIMEOUT(sheet(), 20000);
        pressKeys({"Escape"});
        QTRY_VERIFY(!sheet());
        QVERIFY(shownButton(m_window.get(), QStringLiteral("Stwórz kopertal"))->hasFocus());
        const QStringList made =
            QDir(m_folder->path()).entryList({QStringLiteral("*.docx")}, QDir::Files, QDir::Name);
        QCOMPARE(made.size(), 2);
        QVERIFY2(made[1].endsWith(QStringLiteral("_1.docx")), qPrintable(made[1]));
    }

    void droppedFilesAreLoaded_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        const auto old = QStringLiteral("stary");
        const QString polish = QStringLiteral("Łukasz Żak\nul. Śląska\n\n");
        QTest::newRow("a file") << polish.toUtf8() << "ą b" << polish;
        QTest::newRow("a file in Windows-1250, with its line ends")
            << QByteArray("\xa3ukasz \xaf"
                          "ak\r\nul. \x8cl\xb9ska 1\r\n\r\n")
            << "windows.txt" << QStringLiteral("Łukasz Żak\nul. Śląska 1\n\n");
        QTest::newRow("a folder is ignored") << QByteArray() << "" << old;
        QTest::newRow("a file that is gone is ignored") << QByteArray() << "brak.txt" << old;
        QTest::newRow("a file beyond the editor's bound is refused")
            << QByteArray("A\nB\n\n").repeated(2'000'000) << "duży.txt" << old;
    }

    /// Out of another program's window, by the X server's pointer.
    void droppedFilesAreLoaded() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, name);
        QFETCH(QString, text);
        openReadyWindow();
        typeText("stary");
        if (!bytes.isEmpty())
            test::writeFile(m_folder->filePath(name), bytes);
        DragSource source;
        const QWidget* target = editor().viewport();
        QVERIFY(source.drop({QUrl(QStringLiteral("https://example.invalid/a.txt")),
                             QUrl::fromLocalFile(m_folder->filePath(name)),
                             QUrl::fromLocalFile(QStringLiteral("/etc/passwd"))},
                            target->mapToGlobal(target->rect().center())));
        QTest::qWait(300);
        QTRY_COMPARE(editor().text(), text);
        if (bytes.size() > maxEditorText) {
            QTRY_VERIFY(openAlert());
            QVERIFY2(
                openAlert()->informativeText().startsWith(QStringLiteral("Tekst jest za duży")),
                qPrintable(openAlert()->informativeText()));
            pressKeys({"Return"});
            QTRY_VERIFY(!openAlert());
        } else if (!bytes.isEmpty()) {
            m_window->activateWindow(); // the other program had the keyboard
            QTRY_VERIFY(m_window->isActiveWindow());
            pressKeys({"ctrl+z"});
            QTRY_COMPARE(editor().text(), QStringLiteral("stary"));
        }
    }

    void failuresAreShownAndLoseNothing() {
        const QString folder = m_folder->filePath(QStringLiteral("zapis"));
        QVERIFY(QDir().mkdir(folder));
        acceptSender(folder);
        QVERIFY(QDir().rmdir(folder));
        QApplication::clipboard()->setText(QStringLiteral("A\nB"));
        pressKeys({"ctrl+v", "ctrl+Return"});
        QTRY_VERIFY_WITH_TIMEOUT(openAlert(), 20000);
        QCOMPARE(openAlert()->windowTitle(), QStringLiteral("Błąd"));
        const QString told = openAlert()->informativeText();
        QVERIFY2(told.startsWith(folder) && told.endsWith("No such file or directory"),
                 qPrintable(told));
        QTRY_VERIFY(openAlert()->isActiveWindow());
        pressKeys({"Return"});
        QTRY_VERIFY(!openAlert());
        QVERIFY(!m_window->addresses().isGenerating());
        QVERIFY(!sheet());
        QTRY_COMPARE(editor().text(), QStringLiteral("A\nB\n\n"));
        QVERIFY(shownButton(m_window.get(), QStringLiteral("Stwórz kopertal"))->isEnabled());
        QCOMPARE(QDir(m_folder->path()).entryList({QStringLiteral("*.docx*")}).size(), 0);
    }

    void alertsBreakLongWords_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("no place for a break") << QString(200, u'x');
        QTest::newRow("marks") << QStringLiteral("rejestr_przesyłek.").repeated(12);
        QTest::newRow("characters of two units") << QStringLiteral("💌").repeated(100);
        QTest::newRow("combined characters") << QStringLiteral("z\u0307").repeated(200);
    }

    void alertsBreakLongWords() {
        QFETCH(QString, name);
        const QString message =
            QStringLiteral("/home/kasia/%1/k.docx: No such file or directory").arg(name);
        showError(message);
        QTRY_VERIFY(openAlert());
        QTRY_VERIFY(openAlert()->isActiveWindow());
        const auto* words = openAlert()->findChild<QLabel*>("qt_msgbox_informativelabel");
        QVERIFY(words);
        const QRect room = words->contentsRect();
        const QRect needed =
            words->fontMetrics().boundingRect(room, Qt::TextWordWrap, words->text());
        QVERIFY2(needed.width() <= room.width() && needed.height() <= room.height(),
                 qPrintable(QStringLiteral("%1 of %2").arg(needed.width()).arg(room.width())));
        QVERIFY(openAlert()->rect().contains(words->geometry()));
        QCOMPARE(QString(words->text()).remove(QChar(0x200B)), message);
        QCOMPARE(words->accessibleName(), message);
        for (const QString& part : words->text().split(QChar(0x200B)))
            QVERIFY(part.isEmpty() || !(part[0].isLowSurrogate() || part[0].isMark()));
        pressKeys({"Return"});
        QTRY_VERIFY(!openAlert());
    }

    void tabsKeepTheirState() {
        m_settings = readySettings(*m_folder);
        m_window = std::make_unique<MainWindow>(*m_settings);
        auto* number = new QLineEdit;
        m_window->addTrackingTab(number);
        showWindow();
        typeText("jeden");
        pressKeys({"ctrl+2"});
        QTRY_COMPARE(m_window->content().selectedTab(), AppTab::tracking);
        QTRY_VERIFY(number->isVisible());
        number->setFocus();
        typeText("dwa trzy");
        pressKeys({"ctrl+BackSpace"}); // a word here, not the addresses behind
        QTRY_COMPARE(editor().text(), QStringLiteral("jeden"));
        QTRY_COMPARE(number->text(), QStringLiteral("dwa "));
        pressKeys({"ctrl+1"});
        QTRY_COMPARE(m_window->content().selectedTab(), AppTab::addresses);
        QVERIFY(editor().isVisible());
        for (const auto* tab : m_window->findChildren<morvik::TabButton*>()) {
            if (tab->text() == title(AppTab::tracking))
                clickAt(tab);
        }
        QTRY_COMPARE(m_window->content().selectedTab(), AppTab::tracking);
        QTRY_COMPARE(number->text(), QStringLiteral("dwa "));
    }

    void settingsWindowStaysUntilClosed() {
        openReadyWindow();
        pressKeys({"ctrl+comma"});
        QTRY_VERIFY(QApplication::activeWindow() != m_window.get() && QApplication::activeWindow());
        QWidget* settings = QApplication::activeWindow();
        pressKeys({"ctrl+a"});
        typeText("Nowa Nazwa");
        clickAt(shownButton(settings, QStringLiteral("Zapisz")));
        QTRY_COMPARE(m_settings->senderName(), QStringLiteral("Nowa Nazwa"));
        QVERIFY(settings->isVisible());
        clickAt(shownButton(settings, QStringLiteral("Anuluj")));
        QVERIFY(settings->isVisible());
        m_window->close();
        QVERIFY(!m_window->isVisible());
        QTRY_COMPARE(QApplication::topLevelWidgets().contains(settings), false);
    }

    void saysOnceThatSettingsAreNotSaved() {
        const QString folder = m_folder->filePath("config");
        m_settings = std::make_unique<AppSettings>(PreferencesStore(folder + "/settings.json"));
        m_settings->setSenderName("A");
        m_settings->setSenderAddress("A");
        m_settings->setSaveFolder("/tmp");
        openWindow();
        QVERIFY(QDir(folder).removeRecursively());
        QFile file(folder); // in the way
        QVERIFY(file.open(QIODevice::WriteOnly));
        m_settings->setSenderName("B");
        m_settings->setSenderAddress("C");
        QTRY_VERIFY(openAlert());
        QVERIFY(openAlert()->informativeText().startsWith(u"Nie udało się zapisać ustawień"));
        pressKeys({"Return"});
        QTRY_VERIFY(!openAlert());
        m_settings->appendSentBook({QUuid::createUuid(), "2026-05-04", {}, {}});
        QCOMPARE(m_settings->loadSentBooks().size(), 1); // kept for this run
        QTest::qWait(100);
        QVERIFY(!openAlert());

        QVERIFY(file.remove());
        m_settings->appendSentBook({QUuid::createUuid(), "2026-05-05", {}, {}});
        QCOMPARE(m_settings->loadSentBooks().size(), 2);
        QCOMPARE(AppSettings(PreferencesStore(folder + "/settings.json")).loadSentBooks(),
                 m_settings->loadSentBooks());
    }

    void everythingHasANameForAScreenReader_data() {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QStringList>("keys");
        QTest::newRow("sender's sheet, refused")
            << "" << QStringList{"Tab", "Tab", "Tab", "Tab", "Tab", "Return"};
        QTest::newRow("addresses and warnings") << "/tmp" << QStringList{"ctrl+v"};
        QTest::newRow("success") << m_common.path() << QStringList{"ctrl+v", "ctrl+Return"};
        QTest::newRow("alert") << "/no/such/folder" << QStringList{"ctrl+v", "ctrl+Return"};
        QTest::newRow("settings") << "/tmp" << QStringList{"ctrl+comma"};
        QTest::newRow("menu") << "/tmp" << QStringList{"alt+e"};
    }

    void everythingHasANameForAScreenReader() {
        QFETCH(QString, folder);
        QFETCH(QStringList, keys);
        m_settings = readySettings(*m_folder);
        m_settings->setSaveFolder(folder);
        openWindow();
        QApplication::clipboard()->setText(QStringLiteral("A\nB\n\nC"));
        pressKeys(keys);
        QTest::qWait(500);
        QCOMPARE(namelessParts(), QStringList());
        for (QWidget* window : QApplication::topLevelWidgets())
            window->close();
    }

private:
    void showWindow() {
        activate(*m_window);
        QTest::qWait(200);
    }

    void openWindow() {
        m_window = std::make_unique<MainWindow>(*m_settings);
        showWindow();
    }

    /// Through the form of the first start.
    void acceptSender(const QString& folder) {
        openWindow();
        typeText("Nadawca");
        pressKeys({"Tab"});
        typeText("ul. Nowa 1");
        pressKeys({"Tab"});
        typeText(folder);
        pressKeys({"Tab", "Tab", "Tab", "Return"});
        QTRY_VERIFY(!sheet());
        QTRY_COMPARE(m_settings->saveFolder(), folder);
    }

    void openReadyWindow() {
        m_settings = readySettings(*m_folder);
        openWindow();
    }

    AddressTextEditor& editor() { return m_window->addresses().editor(); }

    morvik::Sheet* sheet() const {
        const auto sheets = shownSheets(m_window.get());
        return sheets.isEmpty() ? nullptr : sheets.last();
    }

    QTemporaryDir m_common;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<AppSettings> m_settings;
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(WindowRoadTest)
#include "WindowRoadTest.moc"
