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

const QString layoutKey("window.layout");

/// The program's window with both tabs and its memory, for one run.
class Run {
public:
    explicit Run(const QString& path)
        : m_store(path), m_settings(m_store), m_window(m_settings), m_memory(m_store, m_window) {
        QObject::connect(&m_window, &MainWindow::filled, [this] {
            m_window.addTrackingTab(new TrackingView(m_settings, TrackingParts()));
            m_memory.restore(m_window.content());
        });
        m_restored = m_window.size();
        activate(m_window);
        QVERIFY(QTest::qWaitFor([this] { return letters(); }));
    }

    MainWindow& window() { return m_window; }
    /// Before the window manager has changed it.
    QSize restoredSize() const { return m_restored; }
    template <typename Part>
    Part* part(const char* name) const {
        return m_window.findChild<Part*>(name);
    }
    morvik::Splitter* addressPanes() const { return part<morvik::Splitter>("addresses.panes"); }
    morvik::Splitter* trackingPanes() const { return part<morvik::Splitter>("tracking.panes"); }
    morvik::TableView* recipients() const { return part<morvik::TableView>("addresses.columns"); }
    morvik::TableView* letters() const { return part<morvik::TableView>("tracking.columns"); }

    void showRecipients() {
        m_window.addresses().editor().replaceText("A\nB\n");
        QTRY_VERIFY(recipients()->isVisible());
    }
    void showLetters() {
        pressKeys({"ctrl+2"});
        QTRY_VERIFY(letters()->isVisible());
    }

    bool end() {
        m_window.close();
        return m_memory.save();
    }

private:
    PreferencesStore m_store;
    AppSettings m_settings;
    MainWindow m_window;
    WindowMemory m_memory;
    QSize m_restored;
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
        QList<int> trackingPanes;
        int nameWidth = 0;
        {
            Run run(m_path);
            run.window().resize(1240, 810);
            QTRY_COMPARE(run.window().size(), QSize(1240, 810));
            run.showRecipients();
            run.addressPanes()->setSizes({700, 539});
            addressPanes = run.addressPanes()->sizes();
            run.recipients()->setColumnWidth(1, 3000); // which leaves the other some room
            nameWidth = run.recipients()->columnWidth(1);
            QVERIFY(run.recipients()->columnWidth(2) > 0);
            run.showLetters();
            run.letters()->selectRow(0);
            QTRY_VERIFY(run.trackingPanes()->widget(1)->isVisible());
            QTest::qWait(50);
            run.trackingPanes()->setSizes({800, 439});
            trackingPanes = run.trackingPanes()->sizes();
            for (const int column : {1, 2, 3})
                run.letters()->setColumnWidth(column, 100 + column);
            run.letters()->clearSelection(); // the details go
            QTRY_VERIFY(!run.trackingPanes()->widget(1)->isVisible());
            QVERIFY(!PreferencesStore(m_path).object(layoutKey)); // not while it is used
            QVERIFY(run.end());
        }
        Run next(m_path);
        QCOMPARE(next.window().size(), QSize(1240, 810));
        QCOMPARE(next.window().content().selectedTab(), AppTab::addresses);
        next.showRecipients();
        QTRY_COMPARE(next.addressPanes()->sizes(), addressPanes);
        QTRY_VERIFY(qAbs(next.recipients()->columnWidth(1) - nameWidth) <= 1);
        next.showLetters();
        next.letters()->selectRow(0);
        QTRY_COMPARE(next.trackingPanes()->sizes(), trackingPanes);
        QCOMPARE(next.letters()->columns(), QList<int>({101, 102, 103}));
    }

    void comesBackMaximisedWithItsOtherSize() {
        {
            Run run(m_path);
            run.window().resize(900, 700);
            QTRY_COMPARE(run.window().size(), QSize(900, 700));
            run.window().showMaximized();
            QTRY_VERIFY(run.window().width() > 1200);
            QVERIFY(run.end());
        }
        {
            Run run(m_path);
            QTRY_VERIFY(run.window().isMaximized() && run.window().width() > 1200);
            QTest::qWait(200);
            QVERIFY(run.end()); // without a change by the user
        }
        Run last(m_path);
        QTRY_VERIFY(last.window().isMaximized() && last.window().width() > 1200);
        last.window().showNormal();
        QTRY_COMPARE(last.window().size(), QSize(900, 700));
    }

    void writesNothingWhenNothingChanged() {
        QVERIFY(Run(m_path).end());
        QVERIFY(PreferencesStore(m_path).object(layoutKey));
        const QDateTime before = QFileInfo(m_path).lastModified();
        QVERIFY(Run(m_path).end());
        QCOMPARE(QFileInfo(m_path).lastModified(), before);
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
            R"({"size": [1, 1], "addresses.panes": [1, 1000], "tracking.panes": [1000, 1],
                "tracking.columns": [0, 1, 2], "addresses.columns": [0]})",
            R"({"size": [1200], "addresses.panes": [1, 2, 3], "tracking.panes": [],
                "tracking.columns": [200, 200], "addresses.columns": [300, 300]})",
            R"({"size": [1200, 800], "isMaximized": 1, "addresses.panes": [null, 4],
                "tracking.columns": [null, 1, 1]})"}; // one of them is right
        const QList<int> usualWidths = Run(m_path).letters()->columns();
        for (const QByteArray& layout : layouts) {
            QVERIFY(PreferencesStore(m_path).setObject(layoutKey,
                                                       QJsonDocument::fromJson(layout).object()));
            Run run(m_path);
            QTest::qWait(50);
            const QSize size = run.restoredSize();
            const QSize screen = run.window().screen()->availableSize();
            QVERIFY(!run.window().isMaximized());
            QVERIFY2(size.width() >= 760 && size.width() <= screen.width(), layout);
            QVERIFY2(size.height() >= 600 && size.height() <= screen.height(), layout);
            QCOMPARE(size == QSize(1200, 800), layout.contains("[1200, 800]"));
            const QList<int> panes = run.addressPanes()->sizes();
            QVERIFY2(panes[0] >= 320 && panes[1] >= 300, "a pane is below its minimum");
            QCOMPARE(run.letters()->columns(), usualWidths);
            run.showRecipients();
            for (const int column : {0, 1, 2})
                QVERIFY2(run.recipients()->columnWidth(column) >= 30, layout);
        }
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

QTEST_MAIN(WindowMemoryTest)
#include "WindowMemoryTest.moc"
