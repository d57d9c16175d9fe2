#include "app/pairing/PairingSetupView.h"
#include "app/scanning/IPhoneScanView.h"
#include "scan/LocalAddress.h"
#include "scan/ScanServer.h"
#include "tests/support/ListeningPorts.h"
#include "tests/support/Nameless.h"
#include "tests/support/PhotoUpload.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "ui/MorvikStyle.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTimer>

using namespace kopertal;
using namespace kopertal::test;
using namespace kopertal::testing;

namespace {

constexpr int patience = 60'000; // ms, for a loaded machine
const QString page = QStringLiteral("https://kopertal.example/zq/");

QStringList numbers(const QList<QVariant>& arguments) {
    QStringList numbers;
    for (const auto& entry : arguments[0].value<QList<ScannedEntry>>())
        numbers << entry.trackingNumber + entry.name;
    return numbers;
}

} // namespace

/// The sheets that set a phone up and take its photos, on a real window, with real servers and
/// uploads.
class PhoneSheetsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { morvik::MorvikStyle::install(*qApp); }

    void init() {
        m_window = std::make_unique<QWidget>();
        m_window->resize(760, 640);
        activate(*m_window);
    }

    /// No server outlives the window.
    void cleanup() {
        m_window.reset();
        m_recognizer.reset();
        QTRY_COMPARE_WITH_TIMEOUT(listeningPorts(), QList<int>(), 5000);
    }

    void serverEndsWithItsSheet() {
        const struct {
            bool isScan, isReady, isClosed; // or the window goes
        } cases[] = {{true, true, true},   {true, true, false}, {true, false, true},
                     {true, false, false}, {false, true, true}, {false, false, false}};
        for (const auto& [isScan, isReady, isClosed] : cases) {
            init();
            if (isScan)
                openScan();
            else
                open(new PairingSetupView(page));
            if (isReady) {
                QTRY_COMPARE_WITH_TIMEOUT(listeningPorts().size(), 1, 10'000);
                QTest::qWait(200); // until the sheet has it
            }
            if (isClosed)
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
            else
                m_window.reset();
            if (!isReady)
                QTest::qWait(2000); // for the late one
            QTRY_COMPARE_WITH_TIMEOUT(listeningPorts().size(), 0, 1000);
        }
    }

    /// Where nothing of ours answers, another program that has it is all one.
    void probesThePairedPort() {
        for (const bool isOurs : {true, false}) {
            init();
            ScanServer permanent; // just starting
            QTcpServer stranger;  // which is silent
            if (isOurs)
                QTimer::singleShot(500, &stranger, [&] { permanent.start(pairedPort); });
            else
                QVERIFY(stranger.listen(QHostAddress::Any, pairedPort));
            auto* view = new PairingSetupView(page);
            const QPointer<morvik::Sheet> sheet = open(view);
            QTRY_VERIFY_WITH_TIMEOUT(shows(view, "Serwer aktywny — możesz przetestować połączenie"),
                                     10'000);
            QCOMPARE(permanent.port(), isOurs ? pairedPort : 0);
            pressKeys({"Return"});
            QTRY_VERIFY(!sheet);
            QCOMPARE(listeningPorts(), QList<int>{pairedPort}); // the other's
        }
    }

    void scansUntilAPhotoHasCodes() {
        const IPhoneScanView* view = openScan();
        const QPointer<morvik::Sheet> sheet = m_window->findChild<morvik::Sheet*>();
        QSignalSpy scanned(view, &IPhoneScanView::scanned);
        QSignalSpy closing(view, &IPhoneScanView::closeRequested);
        const quint16 port = portOf(view);
        const QByteArray good = photo({"RR473124829PL", "RR123456785PL", "RR473124829PL"});
        const std::pair<QByteArray, QString> bad[] = {
            {photo({}), "Nie znaleziono kodu kreskowego — spróbuj ponownie"},
            {good.left(good.size() / 3), "Nie można odczytać zdjęcia"}};
        for (const auto& [bytes, status] : bad) {
            QVERIFY(upload(port, bytes));
            QTRY_VERIFY_WITH_TIMEOUT(shows(view, status), patience);
            QVERIFY(scanned.isEmpty() && closing.isEmpty());
        }
        QVERIFY(upload(port, good));
        QTRY_COMPARE_WITH_TIMEOUT(closing.size(), 1, patience);
        QCOMPARE(scanned.size(), 1);
        QCOMPARE(numbers(scanned[0]), QStringList({"RR123456785PL", "RR473124829PL"}));
        QTRY_VERIFY(!sheet);
        QTRY_COMPARE(listeningPorts(), QList<int>());
    }

    void photosOnTheirWay_data() {
        QTest::addColumn<bool>("isUploading"); // still, or already being recognised
        QTest::addColumn<bool>("isBehindAnother");
        QTest::newRow("recognised after another") << false << true;
        QTest::newRow("uploaded after another") << true << true;
        QTest::newRow("recognised after Anuluj") << false << false;
    }

    /// Behind another photo they are handed over, when the user has closed the sheet they are not.
    void photosOnTheirWay() {
        QFETCH(bool, isUploading);
        QFETCH(bool, isBehindAnother);
        const QTemporaryDir folder;
        const QString mark = folder.filePath("first");
        // The first process waits until the test lets it go.
        QPointer<IPhoneScanView> view = openScan(
            QStringLiteral("if mkdir %1; then while [ ! -e %1/go ]; do sleep 0.05; done; fi 2>&-;")
                .arg(mark));
        const QPointer<morvik::Sheet> sheet = m_window->findChild<morvik::Sheet*>();
        QSignalSpy scanned(view, &IPhoneScanView::scanned);
        QSignalSpy closing(view, &IPhoneScanView::closeRequested);
        const quint16 port = portOf(view);
        const QByteArray late = photo({"RR473124829PL"});
        RawClient slow(port);
        QVERIFY(slow.send(uploadHead(late.size()) + late.first(100).toStdString()));
        const std::string rest = late.sliced(100).toStdString();
        if (isUploading) {
            QDir().mkpath(mark);
        } else {
            QVERIFY(slow.send(rest));
            QTRY_VERIFY(QFile::exists(mark));
        }
        if (isBehindAnother)
            QVERIFY(upload(port, photo({"RR123456785PL"})));
        else
            pressKeys({"Return"});
        QTRY_VERIFY_WITH_TIMEOUT(!sheet, patience);
        QVERIFY(!RawClient(port).isOpen());
        if (isUploading)
            slow.send(rest);
        else
            QVERIFY(QDir(mark).mkdir("go"));
        if (!isBehindAnother) {
            QTest::qWait(1500);
            QVERIFY(scanned.isEmpty());
            return;
        }
        QTRY_COMPARE_WITH_TIMEOUT(scanned.size(), 2, patience);
        QCOMPARE(numbers(scanned[0]), QStringList{"RR123456785PL"});
        QCOMPARE(numbers(scanned[1]), QStringList{"RR473124829PL"});
        QCOMPARE(closing.size(), 1);
        QVERIFY(view);
        if (isUploading)
            m_recognizer.reset(); // the program ends meanwhile
        QTRY_VERIFY_WITH_TIMEOUT(!view, 20'000);
    }

private:
    template <typename View>
    morvik::Sheet* open(View* view) {
        auto* sheet = new morvik::Sheet(view, "x", m_window.get());
        connect(view, &View::closeRequested, sheet, &morvik::Sheet::dismiss);
        sheet->open(view->defaultButton());
        if (!namelessParts().isEmpty())
            qFatal("Something has no name for a screen reader");
        return sheet;
    }

    IPhoneScanView* openScan(const QString& slowness = {}) {
        m_recognizer = std::make_unique<PhotoRecognizer>(recognition(slowness));
        auto* view = new IPhoneScanView(*m_recognizer, false);
        open(view);
        return view;
    }

    /// When its server has started.
    static quint16 portOf(const IPhoneScanView* view) {
        quint16 port = 0;
        const auto isShown = [&] {
            return showsLabel(view, [&](const QString& text) {
                port = text.section(u':', -1).toUShort();
                return text.startsWith("http://");
            });
        };
        return QTest::qWaitFor(isShown, patience) ? port : 0;
    }

    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<PhotoRecognizer> m_recognizer;
};

QTEST_MAIN(PhoneSheetsTest)
#include "PhoneSheetsTest.moc"
