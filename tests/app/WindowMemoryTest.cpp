#include "app/shell/WindowMemory.h"

#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/shell/MainWindow.h"
#include "app/tracking/TrackingTable.h"
#include "app/tracking/TrackingView.h"
#include "tests/support/Files.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "ui/MorvikStyle.h"
#include "ui/Splitter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QScreen>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

const auto layoutKey = QStringLiteral("window.layout");
const QList<int> trackingColumns{1, 2, 3};

/// The program's window with both tabs and its memory, for one run.
class Run {
public:
    explicit Run(const QString& path)
        : m_store(path), m_settings(m_store), m_window(m_settings), m_memory(m_store, m_window) {
        TrackingParts parts;
        m_tracking = new TrackingView(m_settings, parts);
        m_window.addTrackingTab(m_tracking);
        m_memory.restore(*m_tracking);
        activate(m_window);
    }

    MainWindow& window() { return m_window; }
    morvik::Splitter* panes(const char* name) const {
        return m_window.findChild<morvik::Splitter*>(QLatin1String(name));
    }
    morvik::TableView* table(const char* name) const {
        return m_window.findChild<morvik::TableView*>(QLatin1String(name));
    }
    QList<int> trackingWidths() const {
        QList<int> widths;
        for (const int column : trackingColumns)
            widths << table("tracking.columns")->columnWidth(column);
        return widths;
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
    TrackingView* m_tracking;
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
        m_path = m_folder->filePath(QStringLiteral("settings.json"));
        SentEntry entry;
        entry.trackingNumber = QStringLiteral("RR1");
        readySettings(*m_folder)->saveSentBooks(
            {SentBook{QUuid::createUuid(), QStringLiteral("2026-05-04"), {entry}, {}}});
    }

    void comesBackAsItWasLeft() {
        QList<int> addressPanes;
        QList<int> trackingPanes;
        int nameWidth = 0;
        {
            Run run(m_path);
            run.window().resize(1240, 810);
            QTRY_COMPARE(run.window().size(), QSize(1240, 810));
            run.window().addresses().editor().replaceText(QStringLiteral("A\nB\n"));
            QTRY_VERIFY(run.table("addresses.columns")->isVisible());
            run.panes("addresses.panes")->setSizes({700, 539});
            addressPanes = run.panes("addresses.panes")->sizes();
            run.table("addresses.columns")->setColumnWidth(1, 300);
            nameWidth = run.table("addresses.columns")->columnWidth(1);
            pressKeys({"ctrl+2"});
            QTRY_VERIFY(run.table("tracking.columns")->isVisible());
            static_cast<TrackingTable*>(run.table("tracking.columns"))->selectRow(0);
            QTRY_VERIFY(run.panes("tracking.panes")->widget(1)->isVisible());
            QTest::qWait(50);
            run.panes("tracking.panes")->setSizes({800, 439});
            trackingPanes = run.panes("tracking.panes")->sizes();
            for (const int column : trackingColumns)
                run.table("tracking.columns")->setColumnWidth(column, 100 + column);
            run.table("tracking.columns")->clearSelection(); // the details go
            QTRY_VERIFY(!run.panes("tracking.panes")->widget(1)->isVisible());
            QVERIFY(!PreferencesStore(m_path).object(layoutKey)); // not while it is used
            QVERIFY(run.end());
        }
        Run next(m_path);
        QCOMPARE(next.window().size(), QSize(1240, 810));
        QCOMPARE(next.window().content().selectedTab(), AppTab::addresses);
        next.window().addresses().editor().replaceText(QStringLiteral("A\nB\n"));
        QTRY_VERIFY(next.table("addresses.columns")->isVisible());
        QTRY_COMPARE(next.panes("addresses.panes")->sizes(), addressPanes);
        QTRY_VERIFY(qAbs(next.table("addresses.columns")->columnWidth(1) - nameWidth) <= 1);
        pressKeys({"ctrl+2"});
        QTRY_VERIFY(next.table("tracking.columns")->isVisible());
        next.table("tracking.columns")->selectRow(0);
        QTRY_COMPARE(next.panes("tracking.panes")->sizes(), trackingPanes);
        QCOMPARE(next.trackingWidths(), QList<int>({101, 102, 103}));
    }

    void aColumnThatLeavesTheOtherNoRoomKeepsSome() {
        int width = 0;
        {
            Run run(m_path);
            run.window().addresses().editor().replaceText(QStringLiteral("A\nB\n"));
            QTRY_VERIFY(run.table("addresses.columns")->isVisible());
            run.table("addresses.columns")->setColumnWidth(1, 3000);
            width = run.table("addresses.columns")->columnWidth(1);
            QVERIFY(run.table("addresses.columns")->columnWidth(2) > 0);
            QVERIFY(run.end());
        }
        Run next(m_path);
        next.window().addresses().editor().replaceText(QStringLiteral("A\nB\n"));
        QTRY_VERIFY(next.table("addresses.columns")->isVisible());
        QTRY_VERIFY(qAbs(next.table("addresses.columns")->columnWidth(1) - width) <= 1);
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
        const QJsonObject layout =
            PreferencesStore(m_path).object(layoutKey).value_or(QJsonObject());
        QVERIFY(!layout.isEmpty());
        QVERIFY(QFile::remove(m_path));
        QVERIFY(PreferencesStore(m_path).setObject(layoutKey, layout));
        QFile::setPermissions(m_path, QFile::ReadOwner);
        const QDateTime before = QFileInfo(m_path).lastModified();
        Run(m_path).end();
        QCOMPARE(QFileInfo(m_path).permissions() & QFile::WriteOwner, QFile::Permissions());
        QCOMPARE(QFileInfo(m_path).lastModified(), before);
    }

    void garbledValuesAreLeftOut_data() {
        QTest::addColumn<QByteArray>("layout");
        QTest::addColumn<bool>("isSizeKept");
        QTest::newRow("no object") << QByteArray("5") << false;
        QTest::newRow("texts") << QByteArray(R"({"size": "1200x800", "isMaximized": "yes",
            "addresses.panes": "x", "tracking.columns": {}})")
                               << false;
        QTest::newRow("negative") << QByteArray(R"({"size": [-5, -7], "addresses.panes": [-1, 900],
            "tracking.panes": [-3, -4], "tracking.columns": [-100, -100, -100],
            "addresses.columns": [-400]})")
                                  << false;
        QTest::newRow("huge") << QByteArray(R"({"size": [2147483647, 2147483647],
            "addresses.panes": [2147483647, 2147483647], "tracking.panes": [1e9, 1e9],
            "tracking.columns": [50000, 50000, 50000], "addresses.columns": [1000]})")
                              << false;
        QTest::newRow("beyond numbers") << QByteArray(R"({"size": [1e300, 1e300],
            "addresses.panes": [1e300, 4], "tracking.columns": [1.5, 1.5, 1.5]})")
                                        << false;
        QTest::newRow("tiny") << QByteArray(R"({"size": [1, 1], "addresses.panes": [1, 1000],
            "tracking.panes": [1000, 1], "tracking.columns": [0, 1, 2],
            "addresses.columns": [0]})")
                              << false;
        QTest::newRow("wrong counts")
            << QByteArray(R"({"size": [1200], "addresses.panes": [1, 2, 3],
            "tracking.panes": [], "tracking.columns": [200, 200],
            "addresses.columns": [300, 300]})")
            << false;
        QTest::newRow("one of them is right") << QByteArray(R"({"size": [1200, 800],
            "isMaximized": 1, "addresses.panes": [null, 4], "tracking.columns": [null, 1, 1]})")
                                              << true;
    }

    void garbledValuesAreLeftOut() {
        QFETCH(QByteArray, layout);
        QFETCH(bool, isSizeKept);
        QJsonObject preferences = QJsonDocument::fromJson(test::contentsOf(m_path)).object();
        const QList<int> usualWidths = [&] { return Run(m_path).trackingWidths(); }();
        preferences.insert(layoutKey, QJsonDocument::fromJson('[' + layout + ']').array().first());
        test::writeFile(m_path, QJsonDocument(preferences).toJson());

        Run run(m_path);
        QTest::qWait(50);
        const QRect screen = run.window().screen()->availableGeometry();
        QVERIFY(!run.window().isMaximized());
        QVERIFY(run.window().width() >= 760 && run.window().width() <= screen.width());
        QVERIFY(run.window().height() >= 600 && run.window().height() <= screen.height());
        QCOMPARE(run.window().size() == QSize(1200, 800), isSizeKept);
        const QList<int> panes = run.panes("addresses.panes")->sizes();
        QVERIFY2(panes[0] >= 320 && panes[1] >= 300, "a pane is below its minimum");
        QCOMPARE(run.trackingWidths(), usualWidths);
        run.window().addresses().editor().replaceText(QStringLiteral("A\nB\n"));
        QTRY_VERIFY(run.table("addresses.columns")->isVisible());
        for (int column = 0; column < 3; ++column)
            QVERIFY(run.table("addresses.columns")->columnWidth(column) >= 30);
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

QTEST_MAIN(WindowMemoryTest)
#include "WindowMemoryTest.moc"
