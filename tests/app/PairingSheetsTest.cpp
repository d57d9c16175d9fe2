#include "app/pairing/PairingChoiceView.h"
#include "app/pairing/PairingSetupView.h"
#include "scan/LocalAddress.h"
#include "scan/ScanServer.h"
#include "tests/support/SheetWindow.h"
#include "ui/MorvikStyle.h"
#include "ui/SelectableText.h"
#include "ui/SmallButtons.h"

#include <QClipboard>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

using namespace kopertal;
using namespace kopertal::testing;

namespace {

const QString serverReady = QStringLiteral("Serwer aktywny — możesz przetestować połączenie");
const QString page = QStringLiteral("https://kopertal.example/zq/");

} // namespace

/// The sheets that set a phone up, on a real window, with real servers.
class PairingSheetsTest : public QObject, private SheetWindow {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { morvik::MorvikStyle::install(*qApp); }
    void init() { showWindow(); }
    void cleanup() { closeWindow(); }

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

    void serverEndsWithItsSheet_data() { addWaysToClose(); }
    void serverEndsWithItsSheet() {
        open(new PairingSetupView(page));
        checkServerEndsWithSheet();
    }

    void saysWhyThereIsNoServer() {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("The sanitizers need descriptors themselves");
#endif
        auto* view = new PairingSetupView(page);
        open(view);
        const NoDescriptors none;
        const bool isSaid = QTest::qWaitFor(
            [&] {
                return showsLabel(view, [](const QString& text) {
                    const QString start = QStringLiteral("Nie udało się uruchomić serwera: ");
                    return text.startsWith(start) && text.size() > start.size();
                });
            },
            10'000);
        QVERIFY(isSaid);
    }

    void probesThePairedPort_data() {
        QTest::addColumn<QByteArray>("answer"); // of a program there; none: our own server
        QTest::addColumn<int>("delay");         // ms until it is there; -1 never
        QTest::newRow("nobody") << QByteArray() << -1;
        QTest::newRow("ours") << QByteArray() << 0;
        QTest::newRow("ours, just starting") << QByteArray() << 500;
        QTest::newRow("a page not found")
            << QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n") << 0;
        QTest::newRow("a way elsewhere")
            << QByteArray("HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:8745/\r\n"
                          "Content-Length: 0\r\n\r\n")
            << 0;
        QTest::newRow("no HTTP") << QByteArray("SSH-2.0-x\r\n") << 0;
        QTest::newRow("silence") << QByteArray(" ") << 0;
    }
    void probesThePairedPort() {
        QFETCH(QByteArray, answer);
        QFETCH(int, delay);
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
        QTRY_VERIFY_WITH_TIMEOUT(shows(view, serverReady), 10'000);
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
        QVERIFY(
            m_window->rect().contains(QRect(view->mapTo(m_window.get(), QPoint()), view->size())));
    }
};

QTEST_MAIN(PairingSheetsTest)
#include "PairingSheetsTest.moc"
