#include "tests/support/RealKeys.h"
#include "ui/FileDropZone.h"
#include "ui/FileListView.h"
#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/LimeActionButton.h"
#include "ui/MorvikStyle.h"
#include "ui/PanelHelper.h"
#include "ui/Sheet.h"
#include "ui/SmallButtons.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QDropEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

using namespace morvik;
using kopertal::testing::clickAt;
using kopertal::testing::pressKeys;

namespace {

/// Shows the window and waits until it has the keyboard.
void activate(QWidget& window) {
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window, 20000));
}

QList<QUrl> urls(const QStringList& paths) {
    QList<QUrl> result;
    for (const QString& path : paths)
        result << (path.contains(QStringLiteral("://")) ? QUrl(path) : QUrl::fromLocalFile(path));
    return result;
}

QStringList fileNames(const QList<QUrl>& files) {
    QStringList names;
    for (const QUrl& file : files)
        names << file.fileName();
    return names;
}

IconButton* buttonNamed(QWidget* parent, const QString& name) {
    for (IconButton* button : parent->findChildren<IconButton*>()) {
        if (button->accessibleName() == name && button->isVisibleTo(parent))
            return button;
    }
    return nullptr;
}

} // namespace

class KitTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { MorvikStyle::install(*qApp); }

    void processingAloneDoesNotDisable() {
        LimeActionButton button(QStringLiteral("Stwórz"), QStringLiteral("doc"));
        button.setProcessing(true);
        QCOMPARE(button.text(), QStringLiteral("Przetwarzanie..."));
        QSignalSpy pressed(&button, &QPushButton::clicked);
        button.show();
        QTest::mouseClick(&button, Qt::LeftButton);
        QTest::keyClick(&button, Qt::Key_Return);
        QTest::keyClick(&button, Qt::Key_Space);
        QCOMPARE(pressed.count(), 3);
        button.setEnabled(false);
        QTest::mouseClick(&button, Qt::LeftButton);
        QCOMPARE(pressed.count(), 3);
        button.setProcessing(false);
        QCOMPARE(button.text(), QStringLiteral("Stwórz"));
    }

    void dropZonePassesAllowedFiles() {
        const struct {
            QSet<QString> allowed;
            bool takesSeveral;
            QStringList dropped, passed;
        } cases[] = {{{"pdf"}, true, {"/a/a.PDF", "/a/b.txt"}, {"a.PDF"}},
                     {{}, false, {"/a/1", "/a/2.x", "/a/3"}, {"1", "2.x", "3"}},
                     {{"pdf"}, true, {"/a/pdf"}, {}},
                     {{}, true, {"https://example.invalid/a.pdf", "/a/b"}, {"b"}}};
        for (const auto& [allowed, takesSeveral, dropped, passed] : cases) {
            QList<QStringList> calls;
            FileDropZone zone(allowed, takesSeveral,
                              [&](const QList<QUrl>& files) { calls << fileNames(files); });
            zone.show();
            QMimeData data;
            data.setUrls(urls(dropped));
            QDragEnterEvent enter({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&zone, &enter);
            QVERIFY(zone.isTargeted());
            QDropEvent drop({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&zone, &drop);
            QVERIFY(drop.isAccepted());
            QVERIFY(!zone.isTargeted());
            QCOMPARE(calls, passed.isEmpty() ? QList<QStringList>() : QList<QStringList>{passed});
        }
    }

    void fileListIsOrderedAndEmptiedByItsButtons() {
        FileListView list(true);
        list.setFiles(urls({"/a/1.pdf", "/a/2.docx", "/a/3.txt"}));
        list.show();
        const auto press = [&](const QString& name) {
            IconButton* button = buttonNamed(&list, name);
            QVERIFY2(button, qPrintable(name));
            QTest::mouseClick(button, Qt::LeftButton);
        };
        QVERIFY(!buttonNamed(&list, QStringLiteral("Przesuń w górę: 1.pdf"))->isEnabled());
        QVERIFY(!buttonNamed(&list, QStringLiteral("Przesuń w dół: 3.txt"))->isEnabled());
        press(QStringLiteral("Przesuń w dół: 1.pdf"));
        press(QStringLiteral("Przesuń w górę: 3.txt"));
        QCOMPARE(fileNames(list.files()), QStringList({"2.docx", "3.txt", "1.pdf"}));
        press(QStringLiteral("Usuń: 2.docx"));
        press(QStringLiteral("Usuń: 1.pdf"));
        QVERIFY(!buttonNamed(&list, QStringLiteral("Przesuń w górę: 3.txt"))->isEnabled());
        QVERIFY(!buttonNamed(&list, QStringLiteral("Przesuń w dół: 3.txt"))->isEnabled());
        press(QStringLiteral("Usuń: 3.txt"));
        QVERIFY(list.files().isEmpty());
        bool saysEmpty = false;
        for (const QLabel* label : list.findChildren<QLabel*>())
            saysEmpty |= label->isVisible() && label->text() == QStringLiteral("Brak plików");
        QVERIFY(saysEmpty);
    }

    void fileListKeepsTheKeyboardOnItsRow() {
        QWidget window;
        auto* column = new QVBoxLayout(&window);
        auto* list = new FileListView(true);
        auto* after = new QPushButton(QStringLiteral("OK"));
        column->addWidget(list);
        column->addWidget(after);
        list->setFiles(urls({"/a/1.pdf", "/a/2.pdf", "/a/3.pdf", "/a/4.pdf"}));
        activate(window);
        const auto focused = [&] {
            const QWidget* widget = window.focusWidget();
            return widget && widget->hasFocus() ? widget->accessibleName() : QString();
        };
        const auto press = [&](const QString& key) {
            QTest::qWait(QApplication::doubleClickInterval()); // a press of its own
            pressKeys({key});
        };
        const auto click = [&](const QString& name) {
            QTest::qWait(QApplication::doubleClickInterval());
            clickAt(buttonNamed(list, name));
        };

        click(QStringLiteral("Przesuń w górę: 3.pdf"));
        QTRY_COMPARE(fileNames(list->files()), QStringList({"1.pdf", "3.pdf", "2.pdf", "4.pdf"}));
        QTRY_COMPARE(focused(), QStringLiteral("Przesuń w górę: 3.pdf"));
        QVERIFY(!isFocusRingShown(window.focusWidget())); // the pointer brought it there
        press(QStringLiteral("space"));
        QTRY_COMPARE(fileNames(list->files()), QStringList({"3.pdf", "1.pdf", "2.pdf", "4.pdf"}));
        QTRY_COMPARE(focused(), QStringLiteral("Przesuń w dół: 3.pdf")); // it cannot go higher
        pressKeys({"Tab"});
        QTRY_COMPARE(focused(), QStringLiteral("Usuń: 3.pdf"));
        press(QStringLiteral("Return"));
        QTRY_COMPARE(fileNames(list->files()), QStringList({"1.pdf", "2.pdf", "4.pdf"}));
        QTRY_COMPARE(focused(), QStringLiteral("Usuń: 1.pdf"));
        QVERIFY(isFocusRingShown(window.focusWidget()));
        list->setFiles(urls({"/a/0.pdf", "/a/1.pdf", "/a/2.pdf"}));
        QTRY_COMPARE(focused(), QStringLiteral("Usuń: 1.pdf"));
        click(QStringLiteral("Usuń: 2.pdf"));
        QTRY_COMPARE(fileNames(list->files()), QStringList({"0.pdf", "1.pdf"}));
        QTRY_COMPARE(focused(), QStringLiteral("Usuń: 1.pdf"));
        press(QStringLiteral("space"));
        QTRY_COMPARE(fileNames(list->files()), QStringList({"0.pdf"}));
        press(QStringLiteral("space"));
        QTRY_VERIFY(list->files().isEmpty());
        QTRY_VERIFY(after->hasFocus());

        list->setFiles(urls({"/a/1.pdf", "/a/2.pdf"}));
        QVERIFY(after->hasFocus()); // a list that did not have the keyboard takes none
    }

    void longFileListStaysWhereItIsScrolled() {
        FileListView list(true);
        QStringList paths;
        for (int number = 1; number <= 40; ++number)
            paths << QStringLiteral("/a/%1.pdf").arg(number);
        list.setFiles(urls(paths));
        list.resize(400, 300);
        activate(list);
        const auto isSeen = [](const QWidget* button) {
            return button->visibleRegion() == QRegion(button->rect());
        };
        const QString name = QStringLiteral("Przesuń w górę: 30.pdf");
        list.findChild<QScrollArea*>()->ensureWidgetVisible(buttonNamed(&list, name));
        QTRY_VERIFY(isSeen(buttonNamed(&list, name)));
        const int before = list.findChild<QScrollArea*>()->verticalScrollBar()->value();
        QVERIFY(before > 0);
        clickAt(buttonNamed(&list, name));
        QTRY_COMPARE(fileNames(list.files()).indexOf(QStringLiteral("30.pdf")), 28);
        QVERIFY(buttonNamed(&list, name)->hasFocus());
        QTRY_VERIFY(isSeen(buttonNamed(&list, name)));
        QCOMPARE(list.findChild<QScrollArea*>()->verticalScrollBar()->value(), before);
    }

    void ringsComeWithWhatIsScrolledIntoView() {
        auto* content = new QWidget;
        auto* column = new QVBoxLayout(content);
        column->setSpacing(60); // the next one is all out of sight
        for (int number = 0; number < 20; ++number)
            column->addWidget(
                new IconButton(QStringLiteral("trash"), QString::number(number), Qt::black));
        QScrollArea view;
        view.setWidget(content);
        view.resize(200, 200);
        activate(view);
        content->findChildren<IconButton*>().first()->setFocus();
        for (int number = 1; number < 20; ++number) {
            pressKeys({"Tab"});
            QTRY_COMPARE(view.focusWidget()->accessibleName(), QString::number(number));
            QTRY_VERIFY2(isFocusRingShown(view.focusWidget()), qPrintable(QString::number(number)));
        }
    }

    void filesHaveTheirPictures() {
        const std::pair<const char*, const char*> cases[] = {{"a.PDF", "doc.fill"},
                                                             {"a.dotx", "doc.richtext.fill"},
                                                             {"a.tiff", "photo"},
                                                             {"scan.TIF", "doc"},
                                                             {"pdf", "doc"}};
        for (const auto& [name, icon] : cases) {
            const QUrl file = QUrl::fromLocalFile(QStringLiteral("/a/") + name);
            QCOMPARE(FileListView::iconOf(file), icon);
            QVERIFY2(hasIcon(icon), icon);
        }
    }

    void panelsAskForTheirFiles() {
        QCOMPARE(PanelHelper::namePatterns({"pdf", "TXT", "", "a b", "*", "x/y"}),
                 QStringList({"*.PDF", "*.TXT", "*.pdf", "*.txt"}));
        QVERIFY(PanelHelper::namePatterns({}).isEmpty());

        const QTemporaryDir folder;
        const auto answer = [&](bool confirm) {
            QTimer::singleShot(200, this, [&folder, confirm] {
                auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
                QVERIFY(panel);
                QCOMPARE(panel->labelText(QFileDialog::Accept), QStringLiteral("Wybierz"));
                panel->setDirectory(folder.path());
                if (confirm)
                    QMetaObject::invokeMethod(panel, "accept");
                else
                    panel->reject();
            });
        };
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        answer(true);
        const auto chosen = PanelHelper::chooseDirectory();
        QVERIFY(chosen);
        QCOMPARE(QFileInfo(chosen->toLocalFile()).canonicalFilePath(),
                 QFileInfo(folder.path()).canonicalFilePath());
        answer(false);
        QVERIFY(!PanelHelper::chooseDirectory());
    }

    void panelsShowTheirColumnsWhole() {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QLocale::setDefault(QLocale(QLocale::Polish)); // the program's, not the system's
        const auto restore = qScopeGuard([] { QLocale::setDefault(QLocale::system()); });
        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("umowa.pdf")));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(1'023 * 1'024));
        bool isChecked = false;
        QTimer::singleShot(500, this, [&] {
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            QVERIFY(panel);
            const auto close = qScopeGuard([panel] { panel->reject(); });
            panel->setDirectory(folder.path());
            auto* list = panel->findChild<QTreeView*>(QStringLiteral("treeView"));
            QVERIFY(list && list->isVisible());
            QTRY_COMPARE(list->model()->rowCount(list->rootIndex()), 1);
            const QModelIndex row = list->model()->index(0, 0, list->rootIndex());
            const QHeaderView* header = list->header();
            QCOMPARE(header->count(), 4);
            for (int column = 0; column < header->count(); ++column) {
                const int width = header->sectionSize(column);
                QVERIFY2(width >= header->sectionSizeHint(column),
                         qPrintable(QString::number(column)));
                const int text = list->sizeHintForIndex(row.siblingAtColumn(column)).width();
                QVERIFY2(width >= text, qPrintable(QString::number(column)));
            }
            QVERIFY(header->length() <= list->viewport()->width());
            isChecked = true;
        });
        PanelHelper::chooseFiles({QStringLiteral("pdf")}, [](const QList<QUrl>&) {});
        QVERIFY(isChecked);
    }

    void sheetHoldsItsWindow() {
        QMainWindow window;
        auto* behind = new QLineEdit;
        window.setCentralWidget(behind);
        int triggered = 0;
        auto* menu = window.menuBar()->addMenu(QStringLiteral("M"));
        menu->addAction(QStringLiteral("A"), QKeySequence(QStringLiteral("Ctrl+K")), this,
                        [&] { ++triggered; });
        window.resize(500, 400);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        behind->setFocus();
        QTest::keyClick(&window, Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(triggered, 1);

        auto* content = new QWidget;
        auto* column = new QVBoxLayout(content);
        auto* first = new QLineEdit;
        auto* last = new QPushButton(QStringLiteral("OK"));
        column->addWidget(first);
        column->addWidget(last);
        auto* sheet = new Sheet(content, QStringLiteral("Arkusz"), &window);
        QSignalSpy dismissed(sheet, &Sheet::dismissed);
        sheet->open(first);
        QCOMPARE(QAccessible::queryAccessibleInterface(sheet)->role(), QAccessible::Dialog);
        QVERIFY(QAccessible::queryAccessibleInterface(sheet)->state().modal);
        QCOMPARE(window.focusWidget(), first);
        QTest::keyClick(&window, Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(triggered, 1);
        behind->setFocus();
        QVERIFY(content->isAncestorOf(window.focusWidget()));
        first->setFocus();
        QTest::keyClick(first, Qt::Key_Tab);
        QCOMPARE(window.focusWidget(), last);
        QTest::keyClick(last, Qt::Key_Tab);
        QCOMPARE(window.focusWidget(), first);
        QTest::keyClick(first, Qt::Key_Escape);
        QVERIFY(sheet->isVisible());
        sheet->setClosesOnEscape(true);
        QTest::keyClick(first, Qt::Key_Escape);
        QCOMPARE(dismissed.count(), 1);
        QCOMPARE(window.focusWidget(), behind);
        QTest::keyClick(&window, Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(triggered, 2);
    }

    void sheetsScrollWhatIsTooHigh() {
        QWidget window;
        window.resize(500, 300);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto* content = new QWidget;
        content->setFixedWidth(400);
        auto* column = new QVBoxLayout(content);
        QList<QPushButton*> buttons;
        for (int number = 1; number <= 20; ++number) {
            buttons << new QPushButton(QString::number(number));
            column->addWidget(buttons.last());
        }
        auto* sheet = new Sheet(content, QStringLiteral("Arkusz"), &window);
        sheet->open(buttons.first());
        const auto isSeen = [&](const QWidget* button) {
            return button->visibleRegion() == QRegion(button->rect());
        };
        QVERIFY(isSeen(buttons.first()) && !isSeen(buttons.last()));
        for (int press = 1; press < buttons.size(); ++press)
            QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        QCOMPARE(window.focusWidget(), buttons.last());
        QTRY_VERIFY(isSeen(buttons.last()));
        window.resize(500, 900);
        QTRY_VERIFY(isSeen(buttons.first()) && isSeen(buttons.last()));
        QCOMPARE(content->width(), 400);
    }
};

QTEST_MAIN(KitTest)
#include "KitTest.moc"
