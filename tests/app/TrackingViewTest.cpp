#include "app/tracking/TrackingView.h"

#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/tracking/ShipmentDetails.h"
#include "app/tracking/TrackingTable.h"
#include "tests/support/Files.h"
#include "tests/support/Nameless.h"
#include "tests/support/RealKeys.h"
#include "tests/support/TrackingTab.h"
#include "ui/MorvikStyle.h"

#include <QClipboard>
#include <QFileDialog>
#include <QHeaderView>
#include <QToolTip>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

using Model = TrackingTableModel;

/// What the table shows, a row a text: "number|status|date".
QStringList shownRows(TrackingView& view) {
    const Model& model = view.model();
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        const auto cell = [&](int column) { return model.index(row, column).data().toString(); };
        rows << cell(Model::trackingNumberColumn) + u'|' + cell(Model::statusColumn) + u'|' +
                    cell(Model::dateColumn);
    }
    return rows;
}

} // namespace

/// The tracking tab in its window, by the X server's keys and pointer, against the stand-in of the
/// service.
class TrackingViewTest : public QObject, private TrackingTab {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        morvik::MorvikStyle::install(*qApp);
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QApplication::setQuitOnLastWindowClosed(false);
        QVERIFY(m_standIn.isReady());
    }
    void init() { prepareSettings(); }
    void cleanup() { m_window.reset(); }

    void numbersAreCleanedAndAddedOnce() {
        openTab();
        m_window->addresses().editor().replaceText("A");
        QVERIFY(shows(m_view, "Brak przesyłek do śledzenia"));
        for (const char* title : {"Dodaj", "Sprawdź statusy", "Wyczyść dane śledzenia"})
            QVERIFY2(!button(title)->isEnabled(), title);
        typeText("dwa trzy");
        pressKeys({"ctrl+BackSpace"}); // a word here, not the addresses behind
        QTRY_COMPARE(field().text(), "dwa ");
        QVERIFY(!m_window->addresses().editor().text().isEmpty());
        pressKeys({"ctrl+a"});
        typeText(" (00)990011223344556677 ");
        pressKeys({"Return"});
        QTRY_COMPARE(shownRows(*m_view), QStringList{"990011223344556677|—|—"});
        typeText("990011223344556677");
        clickAt(button("Dodaj"));
        QCOMPARE(field().text(), "");
        QApplication::clipboard()->setText("RR2PL\r\n\n(00)10\n990011223344556677");
        pressKeys({"ctrl+v", "Return"});
        QTRY_COMPARE(storedNumbers(), QStringList({"10", "990011223344556677", "RR2PL"}));
        m_view->table().selectRow(1);
        QVERIFY(details()->isVisible());
        clickAt(button("Wyczyść dane śledzenia"));
        QTRY_VERIFY(shows(m_view, "Brak przesyłek do śledzenia"));
        QVERIFY(!details()->isVisible());
        QCOMPARE(m_settings->loadSentBooks(), QList<SentBook>());
    }

    void everyStatusIsAskedForAndShown() {
        openTab();
        add({"unknown", "open after 0.3", "reset", "delivered", "noevents", "latin2",
             "pickedup after 0.2"});
        clickAt(button("Sprawdź statusy"));
        QVERIFY(m_view->isRefreshing());
        QVERIFY(!button("Sprawdź statusy")->isEnabled());
        const QStringList answered{
            "delivered|Doręczono|2025-03-11 11:52",
            "latin2|Błąd|—",
            "noevents|Brak zdarzeń|—",
            "open after 0.3|Przekazanie przesyłki doręczycielowi|2025-03-11 08:00",
            "pickedup after 0.2|Awizowana — doręczono|2025-03-12 09:10",
            "reset|Błąd sieci|—",
            "unknown|Nie znaleziono|—"};
        QTRY_COMPARE(shownRows(*m_view), answered);
        QTRY_VERIFY(!m_view->isRefreshing());
        QVERIFY(button("Sprawdź statusy")->isEnabled());

        // By the keyboard: the fourth row, its number to the clipboard, the order of dates.
        m_view->table().setFocus(Qt::TabFocusReason);
        pressKeys({"Down", "Down", "Down", "Down", "ctrl+c"});
        QTRY_COMPARE(QApplication::clipboard()->text(), "open after 0.3");
        QVERIFY(detailsSay("Rodzaj\tList polecony ekonomiczny\nMasa\t0.05 kg\n"));
        QCOMPARE(namelessParts(), QStringList());
        clickHeader(Model::dateColumn);
        clickHeader(Model::dateColumn);
        QTRY_COMPARE(m_view->model().rowAt(0).trackingNumber, "pickedup after 0.2");
        QCOMPARE(m_view->table().currentIndex().row(), 2);

        // A number more: what was learnt of the others is gone until the next refresh.
        m_view->addTrackingEntry("relay");
        QVERIFY(m_view->model().rowAt(0).status.isEmpty());
        QVERIFY(detailsSay("Status\t—") && !detailsSay("Historia"));
        pressKeys({"F5"});
        QTRY_VERIFY(detailsSay("Historia zdarzeń\nNadanie"));
        QTRY_VERIFY(!m_view->isRefreshing());
    }

    void rowsMayChangeWhileTheyAreAskedFor() {
        openTab();
        add({"open after 1", "delivered after 0.5"});
        m_view->refreshStatuses();
        m_view->addTrackingEntry("relay after 0.1"); // rebuilds the rows
        m_view->refreshStatuses();
        QTRY_COMPARE(m_view->model().rowAt(0).status, "Doręczono");
        QTRY_VERIFY(!m_view->isRefreshing()); // when the first of both is done
        QCOMPARE(m_view->model().rowAt(1).status, "Przekazanie przesyłki doręczycielowi");
        m_view->refreshStatuses();
        m_view->clearTrackingData();
        m_view->addTrackingEntry("open after 1");
        QTRY_VERIFY(!m_view->isRefreshing());
        QCOMPARE(shownRows(*m_view), QStringList{"open after 1|—|—"});
        m_view->refreshStatuses();
        m_window.reset(); // answers find nobody
        QTest::qWait(200);
    }

    void theTableIsSavedWhole() {
        openTab();
        add({"2", "1"});
        const QString saved = m_folder->filePath("tabela.csv");
        for (const QString& path : {m_folder->filePath("tabela"), saved + "/x.csv"}) {
            m_view->table().saveCsv();
            QTRY_VERIFY(m_view->findChild<QFileDialog*>()->isActiveWindow());
            pressKeys({"ctrl+a"});
            typeText(path);
            pressKeys({"Return"});
            QTRY_VERIFY(!m_view->findChild<QFileDialog*>());
        }
        QTRY_VERIFY(openAlert());
        QVERIFY(openAlert()->informativeText().contains(saved + "/x.csv"));
        openAlert()->close();
        QVERIFY(test::contentsOf(saved).contains("\"1\";\"1\";"));
    }

    /// The second of two quick presses is for nobody, whatever has come into the first one's place.
    void theWayOfThePhoneIsChosenAndChanged() {
        openTab();
        button("Skanuj")->setFocus();
        pressKeys({"Return", "Return"});
        QTRY_VERIFY(button("Tak, sparuj iPhone'a"));
        QCOMPARE(m_settings->iphoneMode(), "undecided");
        QTest::qWait(QApplication::doubleClickInterval());
        pressKeys({"Tab", "space", "space"});
        QTRY_VERIFY(button("Anuluj"));
        QCOMPARE(AppSettings(PreferencesStore(m_folder->filePath("settings.json"))).iphoneMode(),
                 "qr");
        pressKeys({"Escape"});
        QTRY_VERIFY(!button("Anuluj"));

        pressKeys({"alt+w", "s"});
        QTRY_VERIFY(button("Tak, sparuj iPhone'a"));
    }

    /// Markup stays text, and long or broken texts stay in their place.
    void textsAreShownAsTheyAre() {
        openTab();
        m_view->addTrackingEntry("<b>x</b>&amp;" + QString(400, u'9'));
        TrackingResult result;
        result.status = "<img src=x> " + QString(1'000'000, u'W');
        result.lastPlace = "Łódź\u2028<i>Kręta</i>\n\nul.\r1";
        result.events = {{"2025", "<a href='x'>Nadanie</a>\nz przerwą", "p", "", "", true}};
        m_view->model().merge(m_view->model().rows()[0].id(), result);
        m_view->table().selectRow(0);
        QTest::qWait(50);
        QVERIFY(detailsSay("<b>x</b>&amp;999"));
        QVERIFY(detailsSay("\n<a href='x'>Nadanie</a> z przerwą\n2025 p"));
        QVERIFY(details()->toPlainText().size() < 3'000);
        const QModelIndex number = m_view->model().index(0, Model::trackingNumberColumn);
        const QPoint at = m_view->table().visualRect(number).center();
        QHelpEvent help(QEvent::ToolTip, at, m_view->table().viewport()->mapToGlobal(at));
        QApplication::sendEvent(m_view->table().viewport(), &help);
        QVERIFY(QToolTip::text().contains("&lt;b&gt;x&lt;/b&gt;&amp;amp;999"));
        QToolTip::hideText();
    }

private:
    QLineEdit& field() { return *m_view->findChild<QLineEdit*>(); }
    ShipmentDetails* details() { return m_view->findChild<ShipmentDetails*>(); }

    void add(const QStringList& numbers) {
        for (const QString& number : numbers)
            m_view->addTrackingEntry(number);
    }

    bool detailsSay(const QString& text) { return details()->toPlainText().contains(text); }

    void clickHeader(int column) {
        const QHeaderView* header = m_view->table().horizontalHeader();
        clickAt(header->viewport(), {header->sectionViewportPosition(column) + 20, 10});
    }
};

QTEST_MAIN(TrackingViewTest)
#include "TrackingViewTest.moc"
