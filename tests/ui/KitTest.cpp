#include "tests/support/RealKeys.h"
#include "ui/FileDropZone.h"
#include "ui/FileListView.h"
#include "ui/FocusRing.h"
#include "ui/MorvikStyle.h"
#include "ui/Sheet.h"
#include "ui/SmallButtons.h"

#include <QApplication>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QTest>
#include <QVBoxLayout>

using namespace morvik;
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

} // namespace

class KitTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { MorvikStyle::install(*qApp); }

    void dropZonePassesAllowedFiles() {
        QList<QUrl> passed;
        FileDropZone zone({"pdf"}, true, [&](const QList<QUrl>& files) { passed << files; });
        QMimeData data;
        data.setUrls(filesOf("a.PDF b.txt pdf") << QUrl("https://example.invalid/a.pdf"));
        QDragEnterEvent enter({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&zone, &enter);
        QDropEvent drop({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&zone, &drop);
        QCOMPARE(passed, filesOf("a.PDF"));
    }

    void fileListKeepsTheKeyboardOnItsRow() {
        FileListView list(true);
        list.setFiles(filesOf("1 2 3"));
        activate(list);
        list.findChildren<IconButton*>().last()->setFocus();
        const struct {
            QStringList keys;
            QString files, focused;
        } steps[] = {{{"shift+Tab"}, "1 2 3", "Przesuń w górę: 3"},
                     {{"space"}, "1 3 2", "Przesuń w górę: 3"},
                     {{"space"}, "3 1 2", "Przesuń w dół: 3"}, // at the top
                     {{"space"}, "1 3 2", "Przesuń w dół: 3"},
                     {{"Tab", "Return"}, "1 2", "Usuń: 2"}};
        for (const auto& [keys, files, focused] : steps) {
            QTest::qWait(QApplication::doubleClickInterval()); // a press of its own
            pressKeys(keys);
            QTRY_COMPARE(list.files(), filesOf(files));
            QTRY_COMPARE(list.focusWidget()->accessibleName(), focused);
        }
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
};

QTEST_MAIN(KitTest)
#include "KitTest.moc"
