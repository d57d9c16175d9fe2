#include "app/tracking/PairedServer.h"
#include "app/tracking/TrackingView.h"
#include "scan/LocalAddress.h"
#include "tests/support/Files.h"
#include "tests/support/ListeningPorts.h"
#include "tests/support/RealKeys.h"
#include "tests/support/RunCommand.h"
#include "tests/support/TrackingTab.h"
#include "tests/support/photo/RegisterPhoto.h"
#include "tracking/TrackingNumber.h"
#include "tracking/TrackingTableModel.h"
#include "ui/MorvikStyle.h"

#include <QScreen>
#include <QTcpServer>

using namespace kopertal;
using namespace kopertal::test;
using namespace kopertal::testing;

namespace {

constexpr int patience = 60'000; // milliseconds, on a loaded machine

/// The numbers on the photos, as the table has them.
QStringList numbersOn(const QList<RegisterPhoto>& photos) {
    QStringList numbers;
    for (const RegisterPhoto& photo : photos) {
        for (const PlacedCode& code : photo.codes)
            numbers << cleanBarcode(code.code.text);
    }
    numbers.sort();
    numbers.removeDuplicates();
    return numbers;
}

} // namespace

/// The whole road with real parts: the window, a phone's browser, photos, the recognition process,
/// and the stand-in of the service. In a network of its own where that can be had.
class TrackingRoadTest : public QObject, private TrackingTab {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        morvik::MorvikStyle::install(*qApp);
        QApplication::setQuitOnLastWindowClosed(false);
        QVERIFY(m_standIn.isReady());
    }
    void init() { prepareSettings(); }
    void cleanup() { m_window.reset(); }

    void byQrCode() {
        openTab();
        clickAt(button("Skanuj"));
        clickAt(button("Nie, skanuj kod QR za każdym razem"));
        QTRY_COMPARE(m_settings->iphoneMode(), "qr");
        QString address;
        QTRY_VERIFY_WITH_TIMEOUT((address = addressOnScreen()).startsWith("http://"), patience);

        const RegisterPhoto photo = makeRegisterPhoto({5});
        const QStringList expected = numbersOn({photo});
        sendFromPhone(address, {photo});
        QTRY_VERIFY_WITH_TIMEOUT(!sheet(), patience);
        QCOMPARE(storedNumbers(), expected);
        QTRY_VERIFY_WITH_TIMEOUT(allRowsSay("Doręczono"), patience);
        QTRY_VERIFY(!m_view->isRefreshing());
        QCOMPARE(m_view->model().rowAt(0).trackingNumber, expected[0]);
    }

    void byPairedPhone() {
        m_settings->setIphoneMode("paired");
        openTab();
        QTRY_VERIFY(button("Skanuj")->toolTip().contains("Serwer aktywny"));
        clickAt(button("Skanuj"));
        QVERIFY(sheet());
        const RegisterPhoto first = makeRegisterPhoto({2});
        const RegisterPhoto second = makeRegisterPhoto({4});
        sendFromPhone(QStringLiteral("http://127.0.0.1:%1/").arg(pairedPort), {first, second});
        const QStringList expected = numbersOn({first, second});
        QTRY_COMPARE_WITH_TIMEOUT(storedNumbers(), expected, patience);
        QTRY_VERIFY_WITH_TIMEOUT(allRowsSay("Doręczono"), patience);
        QCOMPARE(listeningPorts(), QList<int>{pairedPort}); // the sheet has no server of its own
        clickAt(button("Gotowe"));
        QTRY_VERIFY(!sheet());
    }

    /// The server that could not have its port is named, and gets it with the next scan.
    void aBusyPortIsTriedAgain() {
        const QString failure = "Błąd serwera: port 8745 jest zajęty przez inny program";
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::Any, pairedPort));
        m_settings->setIphoneMode("paired");
        openTab();
        QTRY_VERIFY_WITH_TIMEOUT(button("Skanuj")->toolTip().contains(failure), patience);
        clickAt(button("Skanuj"));
        QTRY_VERIFY(sheet() && shows(sheet(), failure));
        QTest::qWait(1500); // the try that the click began fails too
        QVERIFY(shows(sheet(), failure));
        other.close();
        clickAt(button("Gotowe"));
        QTRY_VERIFY(!sheet());
        clickAt(button("Skanuj"));
        QTRY_VERIFY(sheet() && !shows(sheet(), failure));
        QVERIFY(m_view->pairedServer().isActive());
        m_window.reset();
        // It has let the port go.
        QTRY_VERIFY(other.isListening() || other.listen(QHostAddress::Any, pairedPort));
    }

private:
    morvik::Sheet* sheet() const { return frontSheet(m_window.get()); }

    /// Read from a picture of the screen by somebody else's reader.
    QString addressOnScreen() const {
        const QString file = m_folder->filePath("screen.png");
        m_window->screen()->grabWindow(0).save(file);
        return runCommand("zbarimg", {"--raw", "-q", file}).output.trimmed();
    }

    void sendFromPhone(const QString& address, const QList<RegisterPhoto>& photos) {
        QStringList arguments{address};
        for (const RegisterPhoto& photo : photos) {
            arguments << writeFile(
                m_folder->filePath(QStringLiteral("%1.jpg").arg(arguments.size())), photo.jpeg);
        }
        QProcess phone;
        phone.setProcessChannelMode(QProcess::ForwardedChannels);
        phone.start(KOPERTAL_SOURCE_DIR "/tests/support/phone.py", arguments);
        QTRY_COMPARE_WITH_TIMEOUT(phone.state(), QProcess::NotRunning, 2 * patience);
        QCOMPARE(phone.exitCode(), 0);
    }

    bool allRowsSay(const QString& status) const {
        return std::ranges::all_of(m_view->model().rows(),
                                   [&](const TrackingRow& row) { return row.status == status; });
    }
};

QTEST_MAIN(TrackingRoadTest)
#include "TrackingRoadTest.moc"
