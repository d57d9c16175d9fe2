#include "tests/support/RealKeys.h"
#include "ui/FileDropZone.h"
#include "ui/FileListView.h"
#include "ui/FocusRing.h"
#include "ui/Icons.h"
#include "ui/MorvikStyle.h"
#include "ui/PanelHelper.h"
#include "ui/Sheet.h"
#include "ui/SmallButtons.h"

#include <QAccessible>
#include <QApplication>
#include <QDropEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

#include <functional>

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

bool isSeen(const QWidget* widget) {
    return widget->visibleRegion() == QRegion(widget->rect());
}

/// Of "1 2 3".
QList<QUrl> filesOf(const QString& names) {
    QList<QUrl> files;
    for (const QString& name : names.split(u' '))
        files << QUrl("file:///a/" + name);
    return files;
}

QString namesOf(const QList<QUrl>& files) {
    QStringList names;
    for (const QUrl& file : files)
        names << file.fileName();
    return names.join(u' ');
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
    void initTestCase() {
        MorvikStyle::install(*qApp);
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    }

    void dropZonePassesAllowedFiles() {
        const struct {
            QSet<QString> allowed;
            QString dropped, passed;
        } cases[] = {
            {{"pdf"}, "a.PDF b.txt", "a.PDF"}, {{}, "1 2.x", "1 2.x"}, {{"pdf"}, "pdf", {}}};
        for (const auto& [allowed, dropped, passed] : cases) {
            QStringList calls;
            FileDropZone zone(allowed, false,
                              [&](const QList<QUrl>& files) { calls << namesOf(files); });
            QMimeData data;
            data.setUrls(QList{QUrl("https://example.invalid/a.pdf")} + filesOf(dropped));
            QDragEnterEvent enter({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&zone, &enter);
            QVERIFY(zone.isTargeted());
            QDropEvent drop({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&zone, &drop);
            QVERIFY(drop.isAccepted() && !zone.isTargeted());
            QCOMPARE(calls, passed.isEmpty() ? QStringList() : QStringList{passed});
        }
    }

    void fileListKeepsItsPlaceAndTheKeyboardOnItsRow() {
        QWidget window;
        auto* column = new QVBoxLayout(&window);
        auto* list = new FileListView(true);
        auto* after = new QPushButton("OK");
        column->addWidget(list);
        column->addWidget(after);
        list->setFiles(
            filesOf(QString("x ").repeated(27) + "28 29 30 31" + QString(" x").repeated(9)));
        window.resize(400, 300);
        activate(window);
        auto* view = list->findChild<QScrollArea*>();
        view->ensureWidgetVisible(buttonNamed(list, "Usuń: 31"));
        const int scrolled = view->verticalScrollBar()->value();
        const struct {
            QString clicked, pressed, files, focused;
            bool hasRing = false;
        } steps[] = {{"Przesuń w górę: 30", "", "28 30 29 31", "Przesuń w górę: 30"},
                     {"", "space", "30 28 29 31", "Przesuń w górę: 30"},
                     {"", "Tab", "30 28 29 31", "Przesuń w dół: 30", true},
                     {"", "Tab", "30 28 29 31", "Usuń: 30", true},
                     {"", "Return", "x 28 29 31", "Usuń: 28", true},
                     // The next ones in a list of three.
                     {"Przesuń w górę: 2", "", "2 1 3", "Przesuń w dół: 2"}, // at the top
                     {"", "space", "1 2 3", "Przesuń w dół: 2"},
                     {"", "space", "1 3 2", "Usuń: 2"}, // at the end
                     {"", "space", "1 3", "Usuń: 3"}};
        for (const auto& [clicked, pressed, files, focused, hasRing] : steps) {
            if (files == "2 1 3")
                list->setFiles(filesOf("1 2 3"));
            QTest::qWait(QApplication::doubleClickInterval()); // a press of its own
            if (clicked.isEmpty())
                pressKeys({pressed});
            else
                clickAt(buttonNamed(list, clicked));
            QTRY_VERIFY2(namesOf(list->files()).contains(files), qPrintable(files));
            QTRY_VERIFY(window.focusWidget()->hasFocus());
            QCOMPARE(window.focusWidget()->accessibleName(), focused);
            QCOMPARE(isFocusRingShown(window.focusWidget()), hasRing);
            QTRY_VERIFY(isSeen(window.focusWidget()));
            QCOMPARE(view->verticalScrollBar()->value(), list->files().size() > 3 ? scrolled : 0);
        }
        list->setFiles({});
        QTRY_VERIFY(after->hasFocus());
        list->setFiles(filesOf("1 2"));
        QVERIFY(after->hasFocus()); // a list that did not have the keyboard takes none
    }

    void filesHaveTheirPictures() {
        for (const char* name : {"a.PDF", "a.dotx", "a.tiff", "pdf"})
            QVERIFY2(hasIcon(FileListView::iconOf(filesOf(name)[0])), name);
    }

    void panelsAskForTheirFiles() {
        QCOMPARE(PanelHelper::namePatterns({"pdf", "TXT", "", "a b", "*", "x/y"}),
                 QStringList({"*.PDF", "*.TXT", "*.pdf", "*.txt"}));
        QVERIFY(PanelHelper::namePatterns({}).isEmpty());

        const QTemporaryDir folder;
        whenAPanelOpens([&](QFileDialog* panel) {
            panel->setDirectory(folder.path());
            QMetaObject::invokeMethod(panel, "accept");
        });
        const auto chosen = PanelHelper::chooseDirectory();
        QVERIFY(chosen && QFileInfo(chosen->toLocalFile()) == QFileInfo(folder.path()));
        whenAPanelOpens(&QDialog::reject);
        QVERIFY(!PanelHelper::chooseDirectory());
    }

    void panelsShowTheirColumnsWhole() {
        QLocale::setDefault(QLocale(QLocale::Polish)); // the program's, not the system's
        const QTemporaryDir folder;
        QFile file(folder.filePath("umowa.pdf"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(1'023 * 1'024));
        bool isWhole = false;
        whenAPanelOpens([&](QFileDialog* panel) {
            const auto close = qScopeGuard([panel] { panel->reject(); });
            panel->setDirectory(folder.path());
            const auto* list = panel->findChild<QTreeView*>("treeView");
            QVERIFY(list && list->isVisible());
            QTRY_COMPARE(list->model()->rowCount(list->rootIndex()), 1);
            const QModelIndex row = list->model()->index(0, 0, list->rootIndex());
            const QHeaderView* header = list->header();
            QCOMPARE(header->count(), 4);
            for (int column = 0; column < header->count(); ++column) {
                const int text = list->sizeHintForIndex(row.siblingAtColumn(column)).width();
                QVERIFY2(header->sectionSize(column) >=
                             std::max(text, header->sectionSizeHint(column)),
                         qPrintable(QString::number(column)));
            }
            isWhole = header->length() <= list->viewport()->width();
        });
        PanelHelper::chooseFiles({"pdf"}, [](const QList<QUrl>&) {});
        QVERIFY(isWhole);
        QLocale::setDefault(QLocale::system());
    }

    void sheetsHoldTheirWindowAndScrollWhatIsTooHigh() {
        QWidget window;
        auto* behind = new QLineEdit(&window);
        window.resize(500, 300);
        activate(window);
        auto* content = new QWidget;
        content->setFixedWidth(400);
        auto* column = new QVBoxLayout(content);
        column->setSpacing(60); // the next one is all out of sight
        for (int number = 0; number < 9; ++number)
            column->addWidget(new IconButton("trash", QString::number(number), Qt::black));
        const auto buttons = content->findChildren<IconButton*>();
        auto* sheet = new Sheet(content, "Arkusz", &window);
        sheet->open(buttons.first());
        QVERIFY(isSeen(buttons.first()) && !isSeen(buttons.last()));
        const QAccessibleInterface* node = QAccessible::queryAccessibleInterface(sheet);
        QVERIFY(node->role() == QAccessible::Dialog && node->state().modal);
        behind->setFocus();
        for (IconButton* button : buttons) {
            QTRY_COMPARE(window.focusWidget(), button);
            QTRY_VERIFY(isSeen(button) && isFocusRingShown(button));
            pressKeys({"Tab"});
        }
        QTRY_COMPARE(window.focusWidget(), buttons.first());
        window.resize(500, 1000);
        QTRY_VERIFY(isSeen(buttons.first()) && isSeen(buttons.last()));
        QCOMPARE(content->width(), 400);
    }

private:
    void whenAPanelOpens(const std::function<void(QFileDialog*)>& act) {
        QTimer::singleShot(500, this, [act] {
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            QVERIFY(panel);
            act(panel);
        });
    }
};

QTEST_MAIN(KitTest)
#include "KitTest.moc"
