#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/settings/AppSettings.h"
#include "app/shell/MainWindow.h"
#include "tests/support/RealKeys.h"
#include "ui/LimeActionButton.h"
#include "ui/MorvikStyle.h"
#include "ui/Sheet.h"
#include "ui/SmallButtons.h"
#include "ui/TableView.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QTemporaryDir>

#include <memory>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

bool showsText(const QWidget* parent, const QString& text) {
    for (const QLabel* label : parent->findChildren<QLabel*>()) {
        if (label->isVisible() && label->text() == text)
            return true;
    }
    return false;
}

morvik::LimeActionButton* button(const QWidget* parent, const QString& title) {
    for (auto* each : parent->findChildren<morvik::LimeActionButton*>()) {
        if (each->isVisible() && each->text() == title)
            return each;
    }
    return nullptr;
}

void collectNameless(QAccessibleInterface* node, QStringList& nameless) {
    if (node->state().focusable && !node->state().invisible &&
        node->text(QAccessible::Name).isEmpty() && node->role() != QAccessible::Window)
        nameless << QString::fromLatin1(node->object() ? node->object()->metaObject()->className()
                                                       : "?");
    for (int child = 0; child < node->childCount(); ++child) {
        if (QAccessibleInterface* next = node->child(child))
            collectNameless(next, nameless);
    }
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
        m_settings = std::make_unique<AppSettings>(
            PreferencesStore(m_folder->filePath(QStringLiteral("settings.json"))));
    }

    void cleanup() {
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
        QTRY_VERIFY(showsText(sheet(), incomplete));
        QVERIFY(m_settings->senderAddress().isEmpty());
        typeText("Pracownia ");
        pressKeys({"Tab", "Tab"});
        typeText("/no/such/folder");
        pressKeys({"Tab", "Tab", "Tab", "Return"});
        QTRY_VERIFY(showsText(sheet(), noFolder));
        QVERIFY(m_settings->senderName().isEmpty());
        pressKeys({"ctrl+a"});
        typeText(QStringLiteral(" ") + m_folder->path() + QStringLiteral("  "));
        clickAt(button(sheet(), QStringLiteral("Zapisz")));
        QTRY_VERIFY(!sheet());
        QTRY_COMPARE(m_settings->senderName(), QStringLiteral("Pracownia"));
        QTRY_COMPARE(m_settings->saveFolder(), m_folder->path());
    }

    void cancellingLeavesTheSenderAlone() {
        openWindow();
        typeText("X");
        clickAt(button(sheet(), QStringLiteral("Anuluj")));
        QTRY_VERIFY(!sheet());
        QVERIFY(m_settings->senderName().isEmpty());
        typeText("A");
        QTRY_COMPARE(editor().text(), QStringLiteral("A"));
    }

    void makesRegistersFromTypedAndPastedAddresses() {
        openReadyWindow();
        QVERIFY(!sheet());
        QVERIFY(!button(m_window.get(), QStringLiteral("Stwórz kopertal"))->isEnabled());
        typeText("Anna");
        QTRY_VERIFY(showsText(m_window.get(), QStringLiteral("Pominięte wpisy (za mało linii):")));
        QVERIFY(!button(m_window.get(), QStringLiteral("Stwórz kopertal"))->isEnabled());
        pressKeys({"Return"});
        typeText("ul. X 1");
        pressKeys({"Return", "Return"});
        QTRY_VERIFY(showsText(m_window.get(), QStringLiteral("1 adres  ·  1 strona")));
        QApplication::clipboard()->setText(QStringLiteral("B\nC\n\nD\nE\r\n\r\nsam"));
        pressKeys({"ctrl+v"});
        QTRY_COMPARE(editor().text(), QStringLiteral("Anna\nul. X 1\n\nB\nC\n\nD\nE\n\nsam\n\n"));
        QTRY_VERIFY(showsText(m_window.get(), QStringLiteral("3 adresy  ·  1 strona")));
        const QString before = editor().text();
        pressKeys({"ctrl+BackSpace"});
        QTRY_COMPARE(editor().text(), QString());
        QTRY_VERIFY(showsText(m_window.get(), QStringLiteral("Wpisz adresy po lewej")));
        pressKeys({"ctrl+z"});
        QTRY_COMPARE(editor().text(), before);

        pressKeys({"ctrl+Return"});
        QTRY_VERIFY_WITH_TIMEOUT(sheet(), 20000);
        QTRY_VERIFY(showsText(sheet(), QStringLiteral("3 adresów  ·  1 strona")));
        pressKeys({"ctrl+Return", "ctrl+BackSpace"}); // held by the sheet
        QTRY_COMPARE(editor().text(), before);
        pressKeys({"Return"});
        QTRY_VERIFY(!sheet());
        clickAt(button(m_window.get(), QStringLiteral("Stwórz kopertal")));
        QTRY_VERIFY_WITH_TIMEOUT(sheet(), 20000);
        pressKeys({"Escape"});
        QTRY_VERIFY(!sheet());
        const QStringList made =
            QDir(m_folder->path()).entryList({QStringLiteral("*.docx")}, QDir::Files, QDir::Name);
        QCOMPARE(made.size(), 2);
        QVERIFY2(made[1].endsWith(QStringLiteral("_1.docx")), qPrintable(made[1]));
    }

    void droppedFilesAreLoaded_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        const QString polish = QStringLiteral("Łukasz Żak\nul. Śląska\n\n");
        QTest::newRow("Windows-1250 with CR LF") << QByteArray("\xA3ukasz \xAF"
                                                               "ak\r\nul. \x8Cl\xB9ska\r\n\r\n")
                                                 << "a.txt" << polish;
        QTest::newRow("UTF-8 without a name's end")
            << polish.toUtf8() << "bez-rozszerzenia" << polish;
        QTest::newRow("a folder is ignored") << QByteArray() << ""
                                             << "stary";
        QTest::newRow("a file that is gone is ignored") << QByteArray() << "brak.txt"
                                                        << "stary";
    }

    void droppedFilesAreLoaded() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, name);
        QFETCH(QString, text);
        openReadyWindow();
        typeText("stary");
        if (!bytes.isEmpty()) {
            QFile file(m_folder->filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(bytes);
        }
        QMimeData data;
        data.setUrls({QUrl(QStringLiteral("https://example.invalid/a.txt")),
                      QUrl::fromLocalFile(m_folder->filePath(name)),
                      QUrl::fromLocalFile(QStringLiteral("/etc/passwd"))});
        QWidget* target = editor().viewport();
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &enter);
        QDropEvent drop({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &drop);
        QTest::qWait(300);
        QTRY_COMPARE(editor().text(), text);
        if (!bytes.isEmpty()) {
            pressKeys({"ctrl+z"});
            QTRY_COMPARE(editor().text(), QStringLiteral("stary"));
        }
    }

    void failuresAreShownAndLoseNothing_data() {
        QTest::addColumn<QString>("folder");
        QTest::newRow("folder gone") << "/no/such/folder";
        QTest::newRow("a file in the folder's place") << "/etc/passwd";
    }

    void failuresAreShownAndLoseNothing() {
        QFETCH(QString, folder);
        openReadyWindow();
        m_settings->setSaveFolder(folder);
        QApplication::clipboard()->setText(QStringLiteral("A\nB"));
        pressKeys({"ctrl+v", "ctrl+Return"});
        QMessageBox* alert = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT(
            (alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())), 20000);
        QCOMPARE(alert->text(), QStringLiteral("Błąd"));
        QVERIFY2(alert->informativeText().contains(folder), qPrintable(alert->informativeText()));
        QTRY_VERIFY(alert->isActiveWindow());
        pressKeys({"Return"});
        QTRY_VERIFY(!QApplication::activeModalWidget());
        QVERIFY(!m_window->addresses().isGenerating());
        QVERIFY(!sheet());
        QTRY_COMPARE(editor().text(), QStringLiteral("A\nB\n\n"));
        QVERIFY(button(m_window.get(), QStringLiteral("Stwórz kopertal"))->isEnabled());
    }

    void tabsKeepTheirState() {
        m_settings->setSenderName(QStringLiteral("N"));
        m_settings->setSenderAddress(QStringLiteral("A"));
        m_settings->setSaveFolder(m_folder->path());
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
        clickAt(button(settings, QStringLiteral("Zapisz")));
        QTRY_COMPARE(m_settings->senderName(), QStringLiteral("Nowa Nazwa"));
        QVERIFY(settings->isVisible());
        clickAt(button(settings, QStringLiteral("Anuluj")));
        QVERIFY(settings->isVisible());
        m_window->close();
        QVERIFY(!m_window->isVisible());
        QTRY_COMPARE(QApplication::topLevelWidgets().contains(settings), false);
    }

    void everythingHasANameForAScreenReader() {
        openReadyWindow();
        QApplication::clipboard()->setText(QStringLiteral("A\nB\n\nC"));
        pressKeys({"ctrl+v"});
        QStringList nameless;
        collectNameless(QAccessible::queryAccessibleInterface(m_window.get()), nameless);
        nameless.removeAll(QStringLiteral("kopertal::MainWindow"));
        QCOMPARE(nameless, QStringList());
    }

private:
    void showWindow() {
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        QTest::qWait(200);
    }

    void openWindow() {
        m_window = std::make_unique<MainWindow>(*m_settings);
        showWindow();
    }

    void openReadyWindow() {
        m_settings->setSenderName(QStringLiteral("Nadawca"));
        m_settings->setSenderAddress(QStringLiteral("ul. Nowa 1"));
        m_settings->setSaveFolder(m_folder->path());
        openWindow();
    }

    AddressTextEditor& editor() { return m_window->addresses().editor(); }

    morvik::Sheet* sheet() const {
        for (auto* each : m_window->findChildren<morvik::Sheet*>()) {
            if (each->isVisible())
                return each;
        }
        return nullptr;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<AppSettings> m_settings;
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(WindowRoadTest)
#include "WindowRoadTest.moc"
