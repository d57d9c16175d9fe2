#include "app/pairing/PairingSetupView.h"

#include "app/common/Theme.h"
#include "app/common/WaitingThreads.h"
#include "app/http/LoadedHttpCarrier.h"
#include "app/pairing/AddressField.h"
#include "app/scanning/QrCodeView.h"
#include "net/Deliver.h"
#include "scan/LocalAddress.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/LimeBorderedButton.h"
#include "ui/SelectableText.h"
#include "ui/Sheet.h"
#include "ui/Tones.h"

#include <QAccessible>
#include <QHideEvent>
#include <QLabel>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>
#include <QtConcurrent>

#include <chrono>

namespace kopertal {

using morvik::centredLabel;
using morvik::plainLabel;

namespace {

using namespace std::chrono_literals;

constexpr int sheetWidth = 420;
constexpr int padding = 24;
constexpr int numberSize = 22;
constexpr int stepGap = 12;
constexpr int qrSide = 140;
constexpr int qrPadding = 6;
constexpr int buttonWidth = 120;

/// On this computer: whoever takes longer is no phone server of ours.
constexpr auto probeTimeout = 2s;
/// A permanent server that is started together with this sheet has its port by then.
constexpr auto startingTime = 1200ms;
constexpr auto probeInterval = 150ms;

/// The number of a step in its circle.
class StepNumber : public QLabel {
public:
    explicit StepNumber(int number) : QLabel(QString::number(number)) {
        setFont(morvik::uiFont(12, QFont::Bold));
        setAlignment(Qt::AlignCenter);
        setFixedSize(numberSize, numberSize);
        morvik::setInk(this, morvik::Tones::onLime);
    }

protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::brand);
        painter.drawEllipse(rect());
        painter.end();
        QLabel::paintEvent(event);
    }
};

QLayout* step(int number, const QString& text) {
    auto* row = new QHBoxLayout;
    row->setSpacing(10);
    row->addWidget(new StepNumber(number), 0, Qt::AlignTop);
    row->addWidget(morvik::wrappedLabel(text, morvik::textFont(), Theme::textMain), 1);
    return row;
}

} // namespace

PairingSetupView::PairingSetupView(const QString& pairingPage, QWidget* parent)
    : QWidget(parent),
      m_client(loadHttpCarrier({})),
      m_probing(startingTime),
      m_address(new AddressField(QStringLiteral("Adres do sparowania"))),
      m_directAddress(new morvik::SelectableText(QStringLiteral("Adres bezpośredni"),
                                                 morvik::uiFont(11), Theme::textMuted)),
      m_qrPart(new QWidget),
      m_qrCode(new QrCodeView(qrSide, qrPadding)),
      m_status(centredLabel({}, morvik::uiFont(12, QFont::Medium), Theme::textMuted)),
      m_done(new morvik::LimeBorderedButton(QStringLiteral("Gotowe"))) {
    setFixedWidth(morvik::Sheet::contentWidth(sheetWidth));
    m_status->setMinimumHeight(m_status->fontMetrics().height()); // keeps its place while empty
    morvik::addFocusRing(m_directAddress, morvik::navyRing(3, 2));
    m_done->setMinimumWidth(buttonWidth);
    connect(m_done, &morvik::LimeBorderedButton::clicked, this, &PairingSetupView::finish);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(0);
    column->addWidget(
        plainLabel(QStringLiteral("Parowanie iPhone'a"), morvik::sheetTitleFont(), Theme::primary));
    column->addSpacing(16);
    addSteps(column);
    addQrPart(column);
    column->addSpacing(12);
    column->addWidget(m_status);
    column->addSpacing(12);
    column->addWidget(m_done, 0, Qt::AlignHCenter);

    deliver(QtConcurrent::run(&waitingThreads(), &localHostname), this,
            [this, pairingPage](const QString& name) { showAddresses(pairingPage, name); });
    startTestServer();
}

PairingSetupView::~PairingSetupView() {
    stopServer();
}

/// A window that is only minimised keeps its server.
void PairingSetupView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous())
        stopServer();
}

void PairingSetupView::addSteps(QVBoxLayout* column) {
    column->addLayout(step(1, QStringLiteral("Otwórz przeglądarkę na iPhone i wpisz adres:")));
    column->addSpacing(8);
    column->addWidget(m_address);
    column->addSpacing(6);
    column->addWidget(m_directAddress);
    const QString further[] = {QStringLiteral("Na stronie kliknij ikonę udostępniania (↑)"),
                               QStringLiteral("Wybierz „Dodaj do ekranu głównego”"),
                               QStringLiteral("Gotowe! Teraz masz ikonę jak zwykła aplikacja")};
    int number = 2;
    for (const QString& text : further) {
        column->addSpacing(stepGap);
        column->addLayout(step(number++, text));
    }
}

void PairingSetupView::addQrPart(QVBoxLayout* column) {
    auto* part = new QVBoxLayout(m_qrPart);
    part->setContentsMargins(0, 16, 0, 0);
    part->setSpacing(0);
    part->addWidget(morvik::makeDivider(Theme::border));
    part->addSpacing(14);
    part->addWidget(centredLabel(QStringLiteral("Lub zeskanuj ten kod QR:"), morvik::smallFont(),
                                 Theme::textMain));
    part->addSpacing(8);
    part->addWidget(m_qrCode, 0, Qt::AlignHCenter);
    column->addWidget(m_qrPart);
}

QWidget* PairingSetupView::defaultButton() const {
    return m_done;
}

void PairingSetupView::showAddresses(const QString& pairingPage, const QString& hostname) {
    const QString address = pairingURL(pairingPage, hostname);
    m_address->setAddress(address);
    m_directAddress->setPlainText(QStringLiteral("Adres bezpośredni: ") +
                                  directPairingURL(hostname));
    m_qrPart->setVisible(m_qrCode->setText(address));
}

void PairingSetupView::startTestServer() {
    HttpRequest ping;
    ping.url = QStringLiteral("http://127.0.0.1:%1/ping").arg(pairedPort).toStdString();
    ping.timeout = probeTimeout;
    ping.followsRedirects = false;
    deliver(m_client.send(ping), this, [this](const HttpAnswer& answer) {
        if (answer.status == 200)
            setStatus(QStringLiteral("Serwer aktywny — możesz przetestować połączenie"), true);
        else if (answer.failure == HttpFailure::connectionFailed && !m_probing.hasExpired())
            QTimer::singleShot(probeInterval, this, &PairingSetupView::startTestServer);
        else
            startOwnServer();
    });
}

void PairingSetupView::startOwnServer() {
    m_start = startScanServer(pairedPort);
    deliver(m_start, this, [this](const StartedServer& started) {
        m_server = started.server;
        m_start = {};
        if (m_server || started.isPortTaken)
            setStatus(QStringLiteral("Serwer aktywny — możesz przetestować połączenie"), true);
        else
            setStatus(QStringLiteral("Nie udało się uruchomić serwera: ") + started.error, false);
    });
}

void PairingSetupView::setStatus(const QString& text, bool isServerReady) {
    morvik::setInk(m_status, isServerReady ? Theme::success : Theme::textMuted);
    m_status->setText(text);
    QAccessibleEvent alert(m_status, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void PairingSetupView::stopServer() {
    m_start.cancel();
    m_server.reset();
}

void PairingSetupView::finish() {
    stopServer();
    Q_EMIT done();
    Q_EMIT closeRequested();
}

} // namespace kopertal
