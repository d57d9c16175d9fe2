#include "app/pairing/PairingChoiceView.h"
#include "app/pairing/PairingSetupView.h"
#include "app/scanning/IPhoneScanView.h"
#include "scan/LocalAddress.h"
#include "scan/PhotoPipeline.h"
#include "scan/ScanServer.h"
#include "tests/support/ListeningPorts.h"
#include "tests/support/PhotoUpload.h"
#include "tests/support/RealKeys.h"
#include "ui/MorvikStyle.h"
#include "ui/SelectableText.h"
#include "ui/Sheet.h"
#include "ui/SmallButtons.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>

#include <memory>
#include <sys/resource.h>
#include <unistd.h>

using namespace kopertal;
using namespace kopertal::test;
using namespace kopertal::testing;
using namespace std::chrono_literals;

namespace {

constexpr int patience = 60'000; // ms, for a loaded machine
const QString ready = QStringLiteral("Gotowe — zeskanuj kod QR");
const QString serverReady = QStringLiteral("Serwer aktywny — możesz przetestować połączenie");
const QString page = QStringLiteral("https://kopertal.example/zq/");

bool shows(const QWidget* view, const QString& text) {
    for (const QLabel* label : view->findChildren<QLabel*>()) {
        if (label->isVisibleTo(view) && label->text() == text)
            return true;
    }
    return false;
}

QStringList numbers(const QList<QVariant>& arguments) {
    QStringList numbers;
    for (const auto& entry : arguments[0].value<QList<ScannedEntry>>())
        numbers << entry.trackingNumber + entry.name;
    return numbers;
}

QString codeOn(QWidget* view) {
    const QFuture<QStringList> texts = detectBarcodesStatic(view->grab().toImage());
    if (!QTest::qWaitFor([&] { return texts.isFinished(); }, patience))
        return {};
    return texts.result().value(0);
}

} // namespace

/// The phone's sheets on a real window, with real servers and uploads.
class PhoneSheetsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { morvik::MorvikStyle::install(*qApp); }

    void init() {
        m_window = std::make_unique<QWidget>();
        m_window->resize(760, 640);
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    void cleanup() {
        m_window.reset();
        m_recognizer.reset();
        QTRY_COMPARE_WITH_TIMEOUT(listeningPorts(), QList<int>(), 5000);
    }

    void choiceByKeyboard_data() {
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QStringList>("said");
        QTest::newRow("Return") << QStringList{"Return"} << QStringList{"paired", "close"};
        QTest::newRow("the other") << QStringList{"Tab", "Return"} << QStringList{"qr", "close"};
        QTest::newRow("around") << QStringList{"Tab", "Tab", "space"}
                                << QStringList{"paired", "close"};
        QTest::newRow("Escape") << QStringList{"Escape"} << QStringList();
    }
    void choiceByKeyboard() {
        QFETCH(QStringList, keys);
        QStringList said;
        auto* view = new PairingChoiceView;
        connect(view, &PairingChoiceView::choice, [&](const QString& mode) { said << mode; });
        connect(view, &PairingChoiceView::closeRequested, [&] { said << "close"; });
        const QPointer<morvik::Sheet> sheet = open(view);
        pressKeys(keys);
        QTRY_VERIFY(!sheet);
        QTEST(said, "said");
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
        const QPointer<QWidget> sheet = view->parentWidget();
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
        const QPointer<QWidget> sheet = view->parentWidget();
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

    void serversEndWithTheirSheet_data() {
        QTest::addColumn<QString>("sheet");
        QTest::addColumn<bool>("isReady");
        QTest::addColumn<QString>("key"); // none: the window goes
        for (const char* sheet : {"scan", "setup"}) {
            for (const char* key : {"Return", "Escape", ""}) {
                QTest::addRow("%s by %s", sheet, *key ? key : "window") << sheet << true << key;
                QTest::addRow("%s before it is ready by %s", sheet, *key ? key : "window")
                    << sheet << false << key;
            }
        }
    }
    void serversEndWithTheirSheet() {
        QFETCH(QString, sheet);
        QFETCH(bool, isReady);
        QFETCH(QString, key);
        if (sheet == u"scan")
            openScan(recognition(), isReady);
        else
            open(new PairingSetupView(page));
        if (isReady)
            QTRY_COMPARE_WITH_TIMEOUT(listeningPorts().size(), 1, 10'000);
        if (key.isEmpty())
            m_window.reset();
        else
            QTest::keyClick(QApplication::focusWidget(),
                            key == u"Return" ? Qt::Key_Return : Qt::Key_Escape);
        if (isReady)
            QTRY_COMPARE_WITH_TIMEOUT(listeningPorts().size(), 0, 1000);
        else
            QTest::qWait(2000); // for the late one, which cleanup() looks for
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
            for (const QLabel* label : view->findChildren<QLabel*>()) {
                if (label->isVisible() && (label->text().contains(QStringLiteral("sieci"))))
                    return true;
            }
            return false;
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
        rlimit limit{};
        QVERIFY(getrlimit(RLIMIT_NOFILE, &limit) == 0);
        rlimit none = limit;
        none.rlim_cur = static_cast<rlim_t>(dup(0)); // what is free is above
        ::close(static_cast<int>(none.rlim_cur));
        setrlimit(RLIMIT_NOFILE, &none);
        IPhoneScanView* view = openScan(recognition(), false);
        const bool isSaid = QTest::qWaitFor([&] {
            for (const QLabel* label : view->findChildren<QLabel*>()) {
                if (label->text().startsWith(QStringLiteral("Błąd: ")) && label->text().size() > 10)
                    return true;
            }
            return false;
        });
        setrlimit(RLIMIT_NOFILE, &limit);
        QVERIFY(isSaid);
        QVERIFY(view->isVisible());
    }

    void pairedScanStartsNothing() {
        m_recognizer = std::make_unique<PhotoRecognizer>(recognition());
        auto* view = new IPhoneScanView(*m_recognizer, true);
        QSignalSpy scanned(view, &IPhoneScanView::scanned);
        const QPointer<morvik::Sheet> sheet = open(view);
        QVERIFY(shows(view, QStringLiteral("Serwer działa — otwórz ikonę na iPhone")));
        QTest::qWait(500);
        QCOMPARE(listeningPorts(), QList<int>());
        pressKeys({"Return"});
        QTRY_VERIFY(!sheet);
    }

    void probesThePairedPort_data() {
        QTest::addColumn<QByteArray>("answer"); // of a program there; none: our own server
        QTest::addColumn<int>("delay");         // ms until it is there; -1 never
        QTest::addColumn<QString>("status");
        const QString failed =
            QStringLiteral("Nie udało się uruchomić serwera: port 8745 jest zajęty przez inny "
                           "program");
        QTest::newRow("nobody") << QByteArray() << -1 << serverReady;
        QTest::newRow("ours") << QByteArray() << 0 << serverReady;
        QTest::newRow("ours, just starting") << QByteArray() << 500 << serverReady;
        QTest::newRow("a page not found")
            << QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n") << 0 << failed;
        QTest::newRow("a way elsewhere")
            << QByteArray("HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:8745/\r\n"
                          "Content-Length: 0\r\n\r\n")
            << 0 << failed;
        QTest::newRow("no HTTP") << QByteArray("SSH-2.0-x\r\n") << 0 << failed;
        QTest::newRow("silence") << QByteArray(" ") << 0 << failed;
    }
    void probesThePairedPort() {
        QFETCH(QByteArray, answer);
        QFETCH(int, delay);
        QFETCH(QString, status);
        qputenv("http_proxy", "http://127.0.0.1:9/"); // loopback is never asked for through one
        ScanServer permanent;
        QTcpServer foreign;
        connect(&foreign, &QTcpServer::newConnection, [&] {
            QTcpSocket* socket = foreign.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, [socket, answer] { socket->write(answer); });
        });
        auto* view = new PairingSetupView(page);
        QStringList said;
        connect(view, &PairingSetupView::done,
                [&] { said << QStringLiteral("done, %1 ports").arg(listeningPorts().size()); });
        connect(view, &PairingSetupView::closeRequested, [&] { said << "close"; });
        if (!answer.isEmpty())
            QVERIFY(foreign.listen(QHostAddress::Any, pairedPort));
        else if (delay >= 0)
            QTimer::singleShot(delay, [&] { permanent.start(pairedPort); });
        const QPointer<morvik::Sheet> sheet = open(view);
        QTRY_VERIFY_WITH_TIMEOUT(shows(view, status), 10'000);
        QCOMPARE(listeningPorts(), QList<int>{pairedPort});
        QCOMPARE(permanent.port(), answer.isEmpty() && delay >= 0 ? pairedPort : 0);
        pressKeys({"Return"});
        QTRY_VERIFY(!sheet);
        const int othersPorts = answer.isEmpty() && delay < 0 ? 0 : 1;
        QCOMPARE(said, (QStringList{QStringLiteral("done, %1 ports").arg(othersPorts), "close"}));
        qunsetenv("http_proxy");
    }

    void showsTheWholePairingAddress_data() {
        QTest::addColumn<QString>("page");
        QTest::newRow("usual") << page;
        QTest::newRow("long") << page + QString(80, QChar(u'x'));
    }
    void showsTheWholePairingAddress() {
        QFETCH(QString, page);
        ScanServer permanent;
        permanent.start(pairedPort);
        auto* view = new PairingSetupView(page);
        open(view);
        const QString address = pairingURL(page);
        QTRY_COMPARE_WITH_TIMEOUT(codeOn(view), address, patience);
        QStringList texts;
        for (const auto* text : view->findChildren<morvik::SelectableText*>()) {
            texts << text->toPlainText();
            QVERIFY(text->document()->size().height() <= text->height());
            QVERIFY(text->document()->size().width() <= text->width());
        }
        QCOMPARE(texts.value(0), address);
        QCOMPARE(texts.value(1),
                 QStringLiteral("Adres bezpośredni: http://%1:8745/pair").arg(localHostname()));
        QGuiApplication::clipboard()->clear();
        clickAt(view->findChild<morvik::IconButton*>());
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), address);
        QVERIFY(m_window->rect().contains(view->geometry()));
    }

private:
    template <typename View>
    morvik::Sheet* open(View* view) {
        auto* sheet = new morvik::Sheet(view, QStringLiteral("x"), m_window.get());
        sheet->setClosesOnEscape(true);
        connect(view, &View::closeRequested, sheet, &morvik::Sheet::dismiss);
        sheet->open(view->defaultButton());
        for (QWidget* each : view->template findChildren<QWidget*>()) {
            const QAccessibleInterface* node = QAccessible::queryAccessibleInterface(each);
            if ((each->focusPolicy() & Qt::TabFocus) && node->text(QAccessible::Name).isEmpty())
                qFatal("A %s has no name for a screen reader", each->metaObject()->className());
        }
        return sheet;
    }

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

    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<PhotoRecognizer> m_recognizer;
};

QTEST_MAIN(PhoneSheetsTest)
#include "PhoneSheetsTest.moc"
