#include "app/pairing/PairingSetupView.h"
#include "app/scanning/IPhoneScanView.h"
#include "scan/LocalAddress.h"
#include "scan/PhotoPipeline.h"
#include "scan/ScanServer.h"
#include "tests/support/ListeningPorts.h"
#include "tests/support/Nameless.h"
#include "tests/support/PhotoUpload.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "ui/MorvikStyle.h"
#include "ui/SelectableText.h"
#include "ui/SmallButtons.h"

#include <QClipboard>
#include <QPointer>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTimer>

#include <sys/resource.h>
#include <unistd.h>

using namespace kopertal;
using namespace kopertal::test;
using namespace kopertal::testing;
using namespace std::chrono_literals;

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

    void serverEndsWithItsSheet_data() {
        QTest::addColumn<bool>("isScan");
        QTest::addColumn<bool>("isReady");
        QTest::addColumn<int>("key"); // none: the window goes
        const std::pair<const char*, int> ways[] = {
            {"Return", Qt::Key_Return}, {"Escape", Qt::Key_Escape}, {"window", 0}};
        for (const bool isScan : {true, false}) {
            for (const auto& [way, key] : ways) {
                const char* sheet = isScan ? "scan" : "setup";
                QTest::addRow("%s by %s", sheet, way) << isScan << true << key;
                QTest::addRow("%s before it is ready by %s", sheet, way) << isScan << false << key;
            }
        }
    }

    void serverEndsWithItsSheet() {
        QFETCH(bool, isScan);
        QFETCH(bool, isReady);
        QFETCH(int, key);
        if (isScan)
            openScan();
        else
            open(new PairingSetupView(page));
        if (isReady)
            QTRY_COMPARE_WITH_TIMEOUT(listeningPorts().size(), 1, 10'000);
        if (key == 0)
            m_window.reset();
        else
            QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key));
        if (isReady)
            QTRY_COMPARE_WITH_TIMEOUT(listeningPorts().size(), 0, 1000);
        else
            QTest::qWait(2000); // for the late one, which cleanup() looks for
    }

    /// The program can open no more files or sockets.
    void saysWhyThereIsNoServer() {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizers need descriptors themselves");
#endif
        rlimit usual{};
        getrlimit(RLIMIT_NOFILE, &usual);
        const int lowestFree = dup(0);
        ::close(lowestFree);
        const rlimit none{static_cast<rlim_t>(lowestFree), usual.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        const auto restore = qScopeGuard([&] { setrlimit(RLIMIT_NOFILE, &usual); });
        const IPhoneScanView* view = openScan();
        const auto isReason = [](const QString& text) {
            return text.startsWith("Błąd: ") && text.size() > 10;
        };
        QTRY_VERIFY(showsLabel(view, isReason));
    }

    void probesThePairedPort_data() {
        QTest::addColumn<bool>("isOurs");
        QTest::addColumn<int>("delay"); // ms until it is there; -1 never
        QTest::newRow("nobody") << true << -1;
        QTest::newRow("ours") << true << 0;
        QTest::newRow("ours, just starting") << true << 500;
        QTest::newRow("a silent stranger") << false << 0;
    }

    void probesThePairedPort() {
        QFETCH(bool, isOurs);
        QFETCH(int, delay);
        qputenv("http_proxy", "http://127.0.0.1:9/"); // loopback is never asked for through one
        const auto restore = qScopeGuard([] { qunsetenv("http_proxy"); });
        ScanServer permanent;
        QTcpServer stranger;
        if (!isOurs)
            QVERIFY(stranger.listen(QHostAddress::Any, pairedPort));
        else if (delay >= 0)
            QTimer::singleShot(delay, [&] { permanent.start(pairedPort); });
        auto* view = new PairingSetupView(page);
        const QPointer<morvik::Sheet> sheet = open(view);
        QTRY_VERIFY_WITH_TIMEOUT(shows(view, "Serwer aktywny — możesz przetestować połączenie"),
                                 10'000);
        QCOMPARE(listeningPorts(), QList<int>{pairedPort});
        QCOMPARE(permanent.port(), isOurs && delay >= 0 ? pairedPort : 0);
        pressKeys({"Return"});
        QTRY_VERIFY(!sheet);
        QCOMPARE(listeningPorts().size(), delay < 0 ? 0 : 1);
    }

    void showsTheWholePairingAddress() {
        const QString longPage = page + QString(80, u'x');
        auto* view = new PairingSetupView(longPage);
        open(view);
        const QString address = pairingURL(longPage);
        const auto fields = view->findChildren<morvik::SelectableText*>();
        QTRY_COMPARE_WITH_TIMEOUT(fields[0]->toPlainText(), address, patience);
        QCOMPARE(fields[1]->toPlainText(),
                 QStringLiteral("Adres bezpośredni: http://%1:8745/pair").arg(localHostname()));
        for (const auto* field : fields) {
            QVERIFY(field->document()->size().height() <= field->height());
            QVERIFY(field->document()->size().width() <= field->width());
        }
        const QFuture<QStringList> codes = detectBarcodesStatic(view->grab().toImage());
        QTRY_VERIFY_WITH_TIMEOUT(codes.isFinished(), patience);
        QCOMPARE(codes.result(), QStringList{address});
        QGuiApplication::clipboard()->clear();
        clickAt(view->findChild<morvik::IconButton*>());
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), address);
        QVERIFY(
            m_window->rect().contains(QRect(view->mapTo(m_window.get(), QPoint()), view->size())));
    }

    void scansUntilAPhotoHasCodes() {
        const IPhoneScanView* view = openScan();
        const QPointer<morvik::Sheet> sheet = m_window->findChild<morvik::Sheet*>();
        QSignalSpy scanned(view, &IPhoneScanView::scanned);
        QSignalSpy closing(view, &IPhoneScanView::closeRequested);
        const quint16 port = portOf(view);
        const QByteArray good = photo({"RR473124829PL", "RR123456785PL", "RR473124829PL"});
        const std::pair<QByteArray, QString> bad[] = {
            {codelessPhoto(), "Nie znaleziono kodu kreskowego — spróbuj ponownie"},
            {good.left(good.size() / 3), "Nie można odczytać zdjęcia"}};
        for (const auto& [bytes, status] : bad) {
            QVERIFY(upload(port, bytes));
            QTRY_VERIFY_WITH_TIMEOUT(shows(view, status), patience);
            QVERIFY(scanned.isEmpty() && closing.isEmpty());
        }
        QVERIFY(upload(port, good));
        QTRY_VERIFY(shows(view, "Rozpoznawanie kodów kreskowych…") || !scanned.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(closing.size(), 1, patience);
        QCOMPARE(scanned.size(), 1);
        QCOMPARE(numbers(scanned[0]), QStringList({"RR123456785PL", "RR473124829PL"}));
        QVERIFY(shows(view, "Rozpoznano 2 kod(ów) — możesz wysłać kolejne zdjęcie"));
        QTRY_VERIFY(!sheet);
        QTRY_COMPARE(listeningPorts(), QList<int>());
    }

    void photosOnTheirWay_data() {
        QTest::addColumn<bool>("isUploading"); // still, or already being recognised
        QTest::addColumn<QString>("closedBy");
        QTest::newRow("recognised after another") << false << "photo";
        QTest::newRow("uploaded after another") << true << "photo";
        QTest::newRow("recognised after Anuluj") << false << "Return";
        QTest::newRow("uploaded after Anuluj") << true << "Return";
        QTest::newRow("recognised after Escape") << false << "Escape";
    }

    /// Behind another photo they are handed over, when the user has closed the sheet they are not.
    void photosOnTheirWay() {
        QFETCH(bool, isUploading);
        QFETCH(QString, closedBy);
        const QTemporaryDir folder;
        const QString mark = folder.filePath("first");
        // The first process waits until the test lets it go.
        QPointer<IPhoneScanView> view = openScan(
            QStringLiteral("if mkdir %1; then while [ ! -e %1/go ]; do sleep 0.05; done; fi 2>&-;")
                .arg(mark));
        const QPointer<morvik::Sheet> sheet = m_window->findChild<morvik::Sheet*>();
        QSignalSpy scanned(view, &IPhoneScanView::scanned);
        QSignalSpy closing(view, &IPhoneScanView::closeRequested);
        const QByteArray late = photo({"RR473124829PL"});
        const quint16 port = portOf(view);
        RawClient slow(port);
        QVERIFY(slow.send(uploadHead(late) + late.left(100).toStdString()));
        const std::string rest = late.sliced(100).toStdString();
        if (isUploading) {
            QDir().mkpath(mark);
        } else {
            QVERIFY(slow.send(rest));
            QTRY_VERIFY(QFile::exists(mark));
        }
        if (closedBy == u"photo") {
            QVERIFY(upload(port, photo({"RR123456785PL"})));
            QTRY_COMPARE_WITH_TIMEOUT(scanned.size(), 1, patience);
        } else {
            pressKeys({closedBy});
        }
        QTRY_VERIFY(!sheet);
        QVERIFY(!RawClient(port).isOpen());
        if (isUploading)
            slow.send(rest);
        else
            QVERIFY(QDir(mark).mkdir("go"));
        if (closedBy != u"photo") {
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

    void namesTheUsualReasonsUntilAPhoneConnects() {
        IPhoneScanView* view = openScan();
        view->setHintDelay(600ms);
        const quint16 port = portOf(view);
        const auto isHinted = [&] {
            return showsLabel(view, [](const QString& text) { return text.contains("sieci"); });
        };
        QVERIFY(!isHinted());
        QTRY_VERIFY(isHinted());
        QVERIFY(RawClient(port).isOpen());
        QTRY_VERIFY(!isHinted());
        QTest::qWait(1500);
        QVERIFY(!isHinted());
    }

private:
    template <typename View>
    morvik::Sheet* open(View* view) {
        auto* sheet = new morvik::Sheet(view, "x", m_window.get());
        sheet->setClosesOnEscape(true);
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
