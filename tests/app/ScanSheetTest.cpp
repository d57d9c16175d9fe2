#include "app/scanning/IPhoneScanView.h"
#include "scan/LocalAddress.h"
#include "tests/support/PhotoUpload.h"
#include "tests/support/SheetWindow.h"
#include "ui/MorvikStyle.h"

#include <QSignalSpy>
#include <QTemporaryDir>

using namespace kopertal;
using namespace kopertal::test;
using namespace kopertal::testing;
using namespace std::chrono_literals;

namespace {

const QString ready = QStringLiteral("Gotowe — zeskanuj kod QR");

QStringList numbers(const QList<QVariant>& arguments) {
    QStringList numbers;
    for (const auto& entry : arguments[0].value<QList<ScannedEntry>>())
        numbers << entry.trackingNumber + entry.name;
    return numbers;
}

} // namespace

/// The sheet that takes photos, on a real window, with real servers and uploads.
class ScanSheetTest : public QObject, private SheetWindow {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { morvik::MorvikStyle::install(*qApp); }
    void init() { showWindow(); }
    void cleanup() {
        m_window.reset();
        m_recognizer.reset();
        closeWindow();
    }

    void scansUntilAPhotoHasCodes_data() {
        QTest::addColumn<QList<QByteArray>>("photos");
        QTest::addColumn<QString>("firstStatus");
        QTest::addColumn<QList<QStringList>>("scanned");
        const QByteArray good = photo({"RR473124829PL", "RR123456785PL", "RR473124829PL"});
        const QList<QStringList> goodNumbers{{"RR123456785PL", "RR473124829PL"}};
        QTest::newRow("good") << QList{good} << QString() << goodNumbers;
        QTest::newRow("no code, then a good one")
            << QList{codelessPhoto(), good} << "Nie znaleziono kodu kreskowego — spróbuj ponownie"
            << goodNumbers;
        QTest::newRow("unreadable, then a good one") << QList{good.left(good.size() / 3), good}
                                                     << "Nie można odczytać zdjęcia" << goodNumbers;
        QTest::newRow("codes that clean to nothing")
            << QList{photo({"(00)"})} << QString() << QList<QStringList>{{}};
    }
    void scansUntilAPhotoHasCodes() {
        QFETCH(QList<QByteArray>, photos);
        QFETCH(QString, firstStatus);
        IPhoneScanView* view = openScan(recognition());
        const QPointer<morvik::Sheet> sheet = m_window->findChild<morvik::Sheet*>();
        QSignalSpy scanned(view, &IPhoneScanView::scanned);
        QSignalSpy closing(view, &IPhoneScanView::closeRequested);
        const quint16 port = portOf(view);
        if (photos.size() > 1) {
            QVERIFY(upload(port, photos.takeFirst()));
            QTRY_VERIFY_WITH_TIMEOUT(shows(view, firstStatus), patience);
            QVERIFY(scanned.isEmpty() && closing.isEmpty());
        }
        QVERIFY(upload(port, photos.first()));
        QTRY_VERIFY(shows(view, "Rozpoznawanie kodów kreskowych…") || !scanned.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(closing.size(), 1, patience);
        QList<QStringList> found;
        for (const QList<QVariant>& arguments : scanned)
            found << numbers(arguments);
        QTEST(found, "scanned");
        QVERIFY(shows(view, QStringLiteral("Rozpoznano %1 kod(ów) — możesz wysłać kolejne zdjęcie")
                                .arg(found[0].size())));
        QTRY_VERIFY(!sheet);
        QTRY_COMPARE(listeningPorts(), QList<int>());
    }

    void photosOnTheirWay_data() {
        QTest::addColumn<bool>("isUploading"); // still, or already being recognised
        QTest::addColumn<QString>("closedBy");
        QTest::addColumn<bool>("isHandedOver");
        QTest::newRow("recognised after another") << false << "photo" << true;
        QTest::newRow("uploaded after another") << true << "photo" << true;
        QTest::newRow("recognised after Anuluj") << false << "Return" << false;
        QTest::newRow("uploaded after Anuluj") << true << "Return" << false;
        QTest::newRow("recognised after Escape") << false << "Escape" << false;
    }
    void photosOnTheirWay() {
        QFETCH(bool, isUploading);
        QFETCH(QString, closedBy);
        QFETCH(bool, isHandedOver);
        const QTemporaryDir folder;
        const QString mark = folder.filePath(QStringLiteral("first"));
        // The first process waits until the test lets it go.
        QPointer<IPhoneScanView> view = openScan(recognition(
            QStringLiteral("if mkdir %1; then while [ ! -e %1/go ]; do sleep 0.05; done; fi 2>&-;")
                .arg(mark)));
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
            QVERIFY(QDir(mark).mkdir(QStringLiteral("go")));
        if (!isHandedOver) {
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

    void serverEndsWithItsSheet_data() { addWaysToClose(); }
    void serverEndsWithItsSheet() {
        QFETCH(bool, isReady);
        openScan(recognition(), isReady);
        checkServerEndsWithSheet();
    }

    void showsTheServersAddressAsACode() {
        IPhoneScanView* view = openScan(recognition());
        QCOMPARE(codeOn(view),
                 QStringLiteral("http://%1:%2").arg(localIPAddress()).arg(portOf(view)));
        QVERIFY(RawClient::ask(portOf(view), "GET /ping HTTP/1.1\r\n\r\n").ends_with("ok"));
    }

    void namesTheUsualReasonsUntilAPhoneConnects() {
        IPhoneScanView* view = openScan(recognition(), false);
        view->setHintDelay(600ms);
        QTRY_VERIFY(shows(view, ready));
        const auto isHinted = [&] {
            return showsLabel(
                view, [](const QString& text) { return text.contains(QStringLiteral("sieci")); });
        };
        QVERIFY(!isHinted());
        QTRY_VERIFY(isHinted());
        QVERIFY(RawClient(portOf(view)).isOpen());
        QTRY_VERIFY(!isHinted());
        QTest::qWait(1500);
        QVERIFY(!isHinted());
    }

    void saysWhyThereIsNoServer() {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizers need descriptors themselves");
#endif
        bool isSaid = false;
        {
            const NoDescriptors none;
            const IPhoneScanView* view = openScan(recognition(), false);
            isSaid = QTest::qWaitFor([&] {
                return showsLabel(view, [](const QString& text) {
                    return text.startsWith(QStringLiteral("Błąd: ")) && text.size() > 10;
                });
            });
        }
        QVERIFY(isSaid);
    }

    void pairedScanStartsNothing() {
        m_recognizer = std::make_unique<PhotoRecognizer>(recognition());
        auto* view = new IPhoneScanView(*m_recognizer, true);
        QSignalSpy scanned(view, &IPhoneScanView::scanned);
        const QPointer<morvik::Sheet> sheet = open(view);
        QVERIFY(shows(view, QStringLiteral("Serwer działa — otwórz ikonę na iPhone")));
        view->showServerFailure(QStringLiteral("Błąd serwera: x"));
        QVERIFY(shows(view, QStringLiteral("Błąd serwera: x")));
        view->showServerFailure({});
        QVERIFY(!shows(view, QStringLiteral("Błąd serwera: x")) && !shows(view, {}));
        QTest::qWait(500);
        QCOMPARE(listeningPorts(), QList<int>());
        pressKeys({"Return"});
        QTRY_VERIFY(!sheet);
    }

private:
    IPhoneScanView* openScan(const RecognizerOptions& options, bool isAwaited = true) {
        m_recognizer = std::make_unique<PhotoRecognizer>(options);
        auto* view = new IPhoneScanView(*m_recognizer, false);
        open(view);
        if (isAwaited && !QTest::qWaitFor([&] { return shows(view, ready); }, patience))
            qFatal("The scan's server did not start");
        return view;
    }

    static quint16 portOf(const IPhoneScanView* view) {
        for (const QLabel* label : view->findChildren<QLabel*>()) {
            if (label->text().startsWith(QStringLiteral("http://")))
                return label->text().section(u':', -1).toUShort();
        }
        return 0;
    }

    std::unique_ptr<PhotoRecognizer> m_recognizer;
};

QTEST_MAIN(ScanSheetTest)
#include "ScanSheetTest.moc"
