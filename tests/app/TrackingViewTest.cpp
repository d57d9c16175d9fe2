#include "app/tracking/TrackingView.h"

#include "app/tracking/ShipmentDetails.h"
#include "app/tracking/TrackingTable.h"
#include "tests/support/Files.h"
#include "tests/support/RealKeys.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TrackingTab.h"
#include "tracking/TrackingTableModel.h"
#include "ui/MorvikStyle.h"

#include <QAccessible>
#include <QClipboard>
#include <QFileDialog>
#include <QHeaderView>
#include <QScrollBar>
#include <QToolTip>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

using Model = TrackingTableModel;

/// What the table shows, a row a text: "number|status|date".
QStringList shownRows(TrackingView& view) {
    const TrackingTableModel& model = view.model();
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        QStringList cells;
        for (const int column :
             {Model::trackingNumberColumn, Model::statusColumn, Model::dateColumn})
            cells << model.index(row, column).data().toString();
        rows << cells.join(u'|');
    }
    return rows;
}

QList<ScannedEntry> entries(const QStringList& numbers) {
    QList<ScannedEntry> all;
    for (const QString& number : numbers)
        all.append({number, {}});
    return all;
}

} // namespace

/// The tracking tab in its window, by the X server's keys and pointer, against the stand-in of the
/// service.
class TrackingViewTest : public QObject, private TrackingTab {
    Q_OBJECT

    /// Whether something is drawn below where one line in the middle of the cell would end.
    bool hasSecondLine(const QModelIndex& index) const {
        const QRect cell = m_view->table().visualRect(index);
        const QRect below(cell.left() + 8, cell.center().y() + 8, 60, 5);
        const QImage picture = m_view->table().viewport()->grab(below).toImage();
        QImage blank = picture;
        blank.fill(picture.pixelColor(picture.rect().bottomRight()));
        return picture != blank;
    }

private Q_SLOTS:
    void initTestCase() {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QVERIFY(startStandIn());
    }
    void init() { prepareSettings(); }
    void cleanup() { closeTab(); }

    void numbersAreCleanedAndAddedOnce() {
        openTab();
        QVERIFY(shows(m_view, QStringLiteral("Brak przesyłek do śledzenia")));
        QCOMPARE(field().palette().color(QPalette::Text), QApplication::palette().text().color());
        for (const char* title : {"Dodaj", "Sprawdź statusy", "Wyczyść dane śledzenia"})
            QVERIFY2(!button(title)->isEnabled(), title);
        typeText("  ");
        QVERIFY(!button("Dodaj")->isEnabled());
        pressKeys({"Return"}); // nothing to add
        typeText(" (00)990011223344556677 ");
        pressKeys({"Return"});
        QTRY_COMPARE(shownRows(*m_view), QStringList{QStringLiteral("990011223344556677|—|—")});
        typeText("990011223344556677");
        clickAt(button("Dodaj"));
        QCOMPARE(field().text(), QString());
        QApplication::clipboard()->setText(QStringLiteral("RR2PL\r\n\n(00)10\n990011223344556677"));
        pressKeys({"ctrl+v", "Return"});
        const QStringList added{QStringLiteral("990011223344556677"), QStringLiteral("RR2PL"),
                                QStringLiteral("10")};
        QTRY_COMPARE(storedNumbers(), added);
        QCOMPARE(m_settings->loadSentBooks().size(), 1);
        QCOMPARE(m_view->model().rowAt(0).trackingNumber, QStringLiteral("10"));

        m_view->table().selectRow(1);
        QVERIFY(details()->isVisible());
        m_window->resize(1000, 688);
        QTRY_VERIFY(m_view->table().columnWidth(TrackingTableModel::placeColumn) >= 195);
        clickAt(button("Wyczyść dane śledzenia"));
        QTRY_VERIFY(shows(m_view, QStringLiteral("Brak przesyłek do śledzenia")));
        QVERIFY(!details()->isVisible());
        QCOMPARE(m_settings->loadSentBooks(), QList<SentBook>());
        QCOMPARE(QApplication::focusWidget(), &field());
    }

    void rowsOfTheRegisterAreThereFromTheStart() {
        m_settings->appendSentBook({QUuid::createUuid(),
                                    QStringLiteral("2026-01-02"),
                                    {{QUuid::createUuid(), {}, {}, {}}},
                                    {}});
        openTab();
        QCOMPARE(shownRows(*m_view), QStringList{QStringLiteral("—|—|—")});
        QVERIFY(!button("Sprawdź statusy")->isEnabled()); // there is no number to ask about
        m_view->addTrackingEntry("delivered");
        QVERIFY(button("Sprawdź statusy")->isEnabled());
        m_view->refreshStatuses();
        QTRY_VERIFY(!m_view->isRefreshing());
        QCOMPARE(shownRows(*m_view)[0], QStringLiteral("—|—|—"));
        pressKeys({"ctrl+1", "ctrl+2"}); // a visit elsewhere keeps every status
        QCOMPARE(shownRows(*m_view)[1], QStringLiteral("delivered|Doręczono|2025-03-11 11:52"));
    }

    void everyStatusIsAskedForAndShown() {
        openTab();
        m_view->addTrackingEntries(entries({"unknown", "open after 0.3", "reset", "delivered",
                                            "noevents", "latin2", "pickedup after 0.2"}));
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
        QVERIFY(hasSecondLine(m_view->model().index(0, Model::placeColumn))); // of the address
        QVERIFY(!hasSecondLine(m_view->model().index(1, Model::placeColumn)));

        // By the keyboard: the third row, its number to the clipboard, the order of dates.
        m_view->table().setFocus(Qt::TabFocusReason);
        pressKeys({"Down", "Down", "Down", "Down"});
        QTRY_VERIFY(details()->toPlainText().contains(QStringLiteral("open after 0.3")));
        QVERIFY(details()->toPlainText().contains(
            QStringLiteral("Rodzaj\tList polecony ekonomiczny\nMasa\t0.05 kg\n")));
        pressKeys({"ctrl+c"});
        QTRY_COMPARE(QApplication::clipboard()->text(), QStringLiteral("open after 0.3"));
        pressKeys({"End"});
        QTRY_VERIFY(details()->toPlainText().contains(QStringLiteral("unknown")));
        pressKeys({"Home"});
        QTRY_VERIFY(details()->toPlainText().contains(QStringLiteral("delivered")));
        pressKeys({"Down", "Down", "Down"});
        clickHeader(Model::dateColumn);
        clickHeader(Model::dateColumn);
        QTRY_COMPARE(m_view->model().rowAt(0).trackingNumber, QStringLiteral("pickedup after 0.2"));
        clickHeader(Model::statusColumn); // sorts nothing
        QCOMPARE(m_view->table().horizontalHeader()->sortIndicatorSection(),
                 int(Model::dateColumn));
        QCOMPARE(m_view->table().currentIndex().row(), 2);
        details()->setFocus();
        pressKeys({"ctrl+a", "ctrl+c"});
        QTRY_COMPARE(QApplication::clipboard()->text(), details()->toPlainText());

        // A number more: what was learnt of the others is gone until the next refresh.
        m_view->addTrackingEntry("relay");
        QVERIFY(m_view->model().rowAt(0).status.isEmpty());
        QVERIFY(details()->toPlainText().contains(QStringLiteral("Status\t—")));
        QVERIFY(!details()->toPlainText().contains(QStringLiteral("Historia")));
        field().setFocus();
        pressKeys({"Tab", "Tab", "Tab", "Tab", "Tab"}); // "Dodaj" has nothing to add
        QTRY_COMPARE(QApplication::focusWidget(), details());
        for (QWidget* each : m_view->findChildren<QWidget*>()) {
            if (each->isVisible() && (each->focusPolicy() & Qt::TabFocus))
                QVERIFY2(
                    !QAccessible::queryAccessibleInterface(each)->text(QAccessible::Name).isEmpty(),
                    each->metaObject()->className());
        }
        pressKeys({"F5"});
        QTRY_VERIFY(details()->toPlainText().contains(QStringLiteral("Historia zdarzeń\nNadanie")));
        QTRY_VERIFY(!m_view->isRefreshing());
    }

    void rowsMayChangeWhileTheyAreAskedFor() {
        openTab();
        m_view->addTrackingEntries(entries({"open after 1", "delivered after 0.5"}));
        m_view->refreshStatuses();
        m_view->addTrackingEntry("relay after 0.1"); // rebuilds the rows
        m_view->refreshStatuses();
        QTRY_COMPARE(m_view->model().rowAt(0).status, QStringLiteral("Doręczono"));
        QTRY_VERIFY(!m_view->isRefreshing()); // when the first of both is done
        QCOMPARE(m_view->model().rowAt(1).status,
                 QStringLiteral("Przekazanie przesyłki doręczycielowi"));
        m_view->refreshStatuses();
        m_view->clearTrackingData();
        m_view->addTrackingEntry("open after 1");
        QTRY_VERIFY(!m_view->isRefreshing());
        QCOMPARE(shownRows(*m_view), QStringList{QStringLiteral("open after 1|—|—")});
        m_view->refreshStatuses();
        m_window.reset(); // answers find nobody
        QTest::qWait(200);
    }

    void theTableIsSavedWhole() {
        openTab();
        m_view->addTrackingEntries(entries({"2", "1"}));
        const auto saveAs = [&](const QString& path) {
            m_view->table().saveCsv();
            QTRY_VERIFY(m_view->findChild<QFileDialog*>()->isActiveWindow());
            pressKeys({"ctrl+a"});
            typeText(path);
            pressKeys({"Return"});
            QTRY_VERIFY(!m_view->findChild<QFileDialog*>());
        };
        saveAs(m_folder->filePath(QStringLiteral("tabela")));
        const QString saved = m_folder->filePath(QStringLiteral("tabela.csv"));
        QTRY_VERIFY(test::contentsOf(saved).contains("\"1\";\"1\";"));
        const QString belowAFile = m_folder->filePath(QStringLiteral("tabela.csv/x.csv"));
        saveAs(belowAFile);
        QTRY_VERIFY(openAlert());
        QVERIFY(openAlert()->informativeText().contains(belowAFile));
        openAlert()->close();
    }

    /// The second of two quick presses is for nobody, whatever has come into the first one's place.
    void theWayOfThePhoneIsChosenAndChanged() {
        openTab();
        button("Skanuj")->setFocus();
        pressKeys({"Return", "Return"});
        QTRY_VERIFY(button("Tak, sparuj iPhone'a"));
        QCOMPARE(m_settings->iphoneMode(), QStringLiteral("undecided"));
        QTest::qWait(QApplication::doubleClickInterval());
        pressKeys({"Tab", "space", "space"});
        QTRY_VERIFY(button("Anuluj"));
        QCOMPARE(m_settings->iphoneMode(), QStringLiteral("qr"));
        QTest::qWait(QApplication::doubleClickInterval());
        pressKeys({"space"});
        QTRY_VERIFY(!button("Anuluj"));

        button("Skanuj")->setFocus();
        xdotool({"keydown", "Return"});
        QTest::qWait(1500); // it repeats
        xdotool({"keyup", "Return"});
        QVERIFY(button("Anuluj"));
        pressKeys({"Escape"});
        QTRY_VERIFY(!button("Anuluj"));

        pressKeys({"alt+w", "s"});
        QTRY_VERIFY(button("Tak, sparuj iPhone'a"));
        const QPoint at = button("Nie, skanuj kod QR za każdym razem")->mapToGlobal(QPoint(20, 10));
        xdotool({"mousemove", QString::number(at.x()), QString::number(at.y()), "click", "--repeat",
                 "2", "--delay", "80", "1"});
        QTRY_VERIFY(button("Anuluj"));
        pressKeys({"Escape"});
        QTRY_VERIFY(!button("Anuluj"));
        pressKeys({"ctrl+1", "alt+w", "s"}); // not behind the other tab
        QTest::qWait(100);
        QVERIFY(!button("Tak, sparuj iPhone'a"));
        pressKeys({"Escape"});
    }

    /// Markup stays text, and long or broken texts stay in their place.
    void textsAreShownAsTheyAre() {
        openTab();
        m_view->addTrackingEntry("<b>x</b>&amp;" + QString(400, u'9'));
        TrackingResult result;
        result.status = QStringLiteral("<img src=x> ") + QString(1'000'000, u'W');
        result.lastPlace = QStringLiteral("Łódź\u2028<i>Kręta</i>\n\nul.\r1");
        result.events = {{"2025", "<a href='x'>Nadanie</a>\nz przerwą", "p", "", "", true}};
        m_view->model().merge(m_view->model().rows()[0].id(), result);
        m_view->table().selectRow(0);
        QTest::qWait(50);
        const QString text = details()->toPlainText();
        QVERIFY(text.contains(QStringLiteral("<b>x</b>&amp;999")));
        QVERIFY(text.contains(QStringLiteral("\n<a href='x'>Nadanie</a> z przerwą\n2025 p")));
        QVERIFY(text.size() < 3'000);
        const QModelIndex number = m_view->model().index(0, Model::trackingNumberColumn);
        const QPoint at = m_view->table().visualRect(number).center();
        QHelpEvent help(QEvent::ToolTip, at, m_view->table().viewport()->mapToGlobal(at));
        QApplication::sendEvent(m_view->table().viewport(), &help);
        QVERIFY2(QToolTip::text().contains(QStringLiteral("&lt;b&gt;x&lt;/b&gt;&amp;amp;999")),
                 qPrintable(QToolTip::text()));
        QToolTip::hideText();
    }

    /// Measured in the main thread's own processor time, so that other work on the computer does
    /// not count; the bound is generous for unoptimised and instrumented builds.
    void aThousandRowsStayFluid() {
        openTab();
        QStringList numbers;
        for (int i = 0; i < 1'000; ++i)
            numbers
                << QStringLiteral("009900112233445%1").arg(i * 7'919 % 100'000, 5, 10, QChar(u'0'));
        StallMeter meter;
        m_view->addTrackingEntries(entries(numbers));
        meter.report("adding 1 000 rows at once");
        m_view->refreshStatuses();
        meter.report("starting a refresh");
        QTRY_VERIFY_WITH_TIMEOUT(!m_view->isRefreshing(), 60'000);
        meter.report("merging its answers, by number");
        clickHeader(Model::dateColumn);
        meter.report("sorting");
        clickHeader(Model::dateColumn);
        m_view->addTrackingEntry("unknown");
        m_view->refreshStatuses();
        QTRY_VERIFY_WITH_TIMEOUT(!m_view->isRefreshing(), 60'000);
        meter.report("a refresh, by date");
        m_view->table().setFocus();
        pressKeys({"Home"});
        pressKeys(QStringList(20, "Down") + QStringList(10, "Next"));
        meter.report("selecting and scrolling");
        TrackingResult result;
        for (int i = 0; i < 200; ++i)
            result.events.append({QStringLiteral("2025-03-11 06:15"),
                                  QStringLiteral("Nadejście do placówki pocztowej"),
                                  QStringLiteral("Warszawa — UP Warszawa 1"),
                                  {},
                                  {},
                                  i == 199});
        const QUuid id = m_view->model().rowAt(3).id();
        m_view->model().merge(id, result);
        m_view->table().selectRow(m_view->model().positionOf(id).value());
        QTRY_COMPARE(details()->toPlainText().count(QStringLiteral("Nadejście")), 200);
        QCOMPARE(details()->verticalScrollBar()->value(), 0);
        meter.report("opening 200 events");
        QVERIFY2(meter.longest() < 400, "the main thread was held up");
    }

private:
    QLineEdit& field() { return *m_view->findChild<QLineEdit*>(); }
    ShipmentDetails* details() { return m_view->findChild<ShipmentDetails*>(); }

    void clickHeader(int column) {
        const QHeaderView* header = m_view->table().horizontalHeader();
        const QPoint at = header->viewport()->mapToGlobal(
            QPoint(header->sectionViewportPosition(column) + 20, header->height() / 2));
        xdotool({QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
                 QStringLiteral("click"), QStringLiteral("1")});
    }
};

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    morvik::MorvikStyle::install(application);
    TrackingViewTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "TrackingViewTest.moc"
