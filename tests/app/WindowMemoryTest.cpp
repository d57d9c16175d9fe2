#include "app/shell/WindowMemory.h"

#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/shell/MainWindow.h"
#include "app/tracking/TrackingView.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "ui/MorvikStyle.h"
#include "ui/Splitter.h"
#include "ui/TableView.h"

#include <QJsonDocument>
#include <QScreen>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

/// The program's window with both tabs and its memory, for one run.
struct Run {
    explicit Run(const QString& path) : store(path) {
        QObject::connect(&window, &MainWindow::filled, [this] {
            window.addTrackingTab(new TrackingView(settings, TrackingParts()));
            memory.restore(window.content());
        });
        restoredSize = window.size();
        activate(window);
        QVERIFY(QTest::qWaitFor([this] { return letters(); }));
    }

    morvik::Splitter* panes(const char* name) const {
        return window.findChild<morvik::Splitter*>(name);
    }
    morvik::TableView* letters() const {
        return window.findChild<morvik::TableView*>("tracking.columns");
    }

    void showLetters() const {
        pressKeys({"ctrl+2"});
        QTRY_VERIFY(letters()->isVisible());
    }

    PreferencesStore store;
    AppSettings settings{store};
    MainWindow window{settings};
    WindowMemory memory{store, window};
    QSize restoredSize; // before the window manager has changed it
};

} // namespace

class WindowMemoryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        morvik::MorvikStyle::install(*qApp);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath("settings.json");
        SentEntry entry;
        entry.trackingNumber = "RR1";
        readySettings(*m_folder)->saveSentBooks(
            {SentBook{QUuid::createUuid(), "2026-05-04", {entry}, {}}});
    }

    void comesBackAsItWasLeft() {
        QList<int> addressPanes;
        QList<int> panes;
        {
            Run run(m_path);
            run.window.resize(1240, 810);
            QTRY_COMPARE(run.window.size(), QSize(1240, 810));
            run.panes("addresses.panes")->setSizes({700, 539});
            addressPanes = run.panes("addresses.panes")->sizes();
            run.showLetters();
            run.letters()->selectRow(0);
            QTRY_VERIFY(run.panes("tracking.panes")->widget(1)->isVisible());
            QTest::qWait(50);
            run.panes("tracking.panes")->setSizes({800, 439});
            panes = run.panes("tracking.panes")->sizes();
            for (const int column : {1, 2, 3})
                run.letters()->setColumnWidth(column, 100 + column);
            run.letters()->clearSelection(); // the details go
            QTRY_VERIFY(!run.panes("tracking.panes")->widget(1)->isVisible());
            run.window.showMaximized();
            QTRY_VERIFY(run.window.width() > 1240);
            run.window.close();
            QVERIFY(run.memory.save());
        }
        Run next(m_path);
        QTRY_VERIFY(next.window.isMaximized() && next.window.width() > 1240);
        next.window.showNormal();
        QTRY_COMPARE(next.window.size(), QSize(1240, 810));
        QTRY_COMPARE(next.panes("addresses.panes")->sizes(), addressPanes);
        next.showLetters();
        next.letters()->selectRow(0);
        QTRY_COMPARE(next.panes("tracking.panes")->sizes(), panes);
        QCOMPARE(next.letters()->columns(), QList<int>({101, 102, 103}));
    }

    void garbledValuesAreLeftOut() {
        const QByteArray layouts[] = {
            R"({"size": "1200x800", "isMaximized": "yes", "addresses.panes": [1e300, 4],
                "tracking.columns": [1.5, 1.5, 1.5], "addresses.columns": {}})",
            R"({"size": [-5, -7], "addresses.panes": [-1, 900], "tracking.panes": [-3, -4],
                "tracking.columns": [-100, -100, -100], "addresses.columns": [-400]})",
            R"({"size": [2147483647, 2147483647], "addresses.panes": [2147483647, 2147483647],
                "tracking.panes": [1e9, 1e9], "tracking.columns": [50000, 50000, 50000],
                "addresses.columns": [1000]})",
            R"({"size": [1200], "addresses.panes": [1, 2, 3], "tracking.panes": [],
                "tracking.columns": [200, 200], "addresses.columns": [300, 300]})"};
        const QList<int> usualWidths = Run(m_path).letters()->columns();
        for (const QByteArray& layout : layouts) {
            QVERIFY(PreferencesStore(m_path).setObject("window.layout",
                                                       QJsonDocument::fromJson(layout).object()));
            Run run(m_path);
            QTest::qWait(50);
            const QSize screen = run.window.screen()->availableSize();
            QVERIFY(!run.window.isMaximized());
            QCOMPARE(run.restoredSize.expandedTo({760, 600}).boundedTo(screen), run.restoredSize);
            const QList<int> panes = run.panes("addresses.panes")->sizes();
            QVERIFY2(panes[0] >= 320 && panes[1] >= 300, "a pane is below its minimum");
            QCOMPARE(run.letters()->columns(), usualWidths);
            run.window.addresses().editor().replaceText("A\nB\n");
            const auto* recipients = run.window.findChild<morvik::TableView*>("addresses.columns");
            QTRY_VERIFY(recipients->isVisible());
            for (const int column : {0, 1, 2})
                QVERIFY2(recipients->columnWidth(column) >= 30, layout);
        }
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

QTEST_MAIN(WindowMemoryTest)
#include "WindowMemoryTest.moc"
