#include "app/scanning/IPhoneScanView.h"

#include "app/common/Theme.h"
#include "app/scanning/PhoneTile.h"
#include "app/scanning/QrCodeView.h"
#include "app/scanning/ScanSession.h"
#include "scan/PhotoRecognizer.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/LimeBorderedButton.h"
#include "ui/MorvikTheme.h"
#include "ui/Sheet.h"
#include "ui/Spinner.h"

#include <QAccessible>
#include <QLabel>
#include <QVBoxLayout>

namespace kopertal {

using morvik::centredLabel;

namespace {

constexpr int sheetWidth = 360;
constexpr int padding = 24;
constexpr int sidePadding = 16; // leaves the hint's longest line whole
constexpr int qrSide = 200;
constexpr int qrPadding = 8;
constexpr int spinnerSize = 32;
constexpr int iconSize = 48;
constexpr int iconPadding = 16;
constexpr int buttonWidth = 120;

QLabel* hintLabel(const QString& text) {
    return centredLabel(text, morvik::textFont(), Theme::textMuted);
}

QString reasons(const QString& address) {
    if (address.startsWith(QStringLiteral("http://127.")))
        return QStringLiteral("Komputer nie jest połączony z żadną siecią, więc telefon nie "
                              "otworzy tego adresu.");
    return QStringLiteral("Telefon się nie łączy? Sprawdź, czy jest w tej samej sieci Wi-Fi co "
                          "komputer, czy zapora nie blokuje połączeń i czy nie jest to sieć dla "
                          "gości, która oddziela od siebie urządzenia.");
}

} // namespace

IPhoneScanView::IPhoneScanView(PhotoRecognizer& recognizer, bool usePairedMode, QWidget* parent)
    : QWidget(parent),
      m_status(centredLabel({}, morvik::uiFont(12, QFont::Medium), Theme::textMain)),
      m_hint(centredLabel({}, morvik::uiFont(11), Theme::textMuted)),
      m_close(new morvik::LimeBorderedButton(usePairedMode ? QStringLiteral("Gotowe")
                                                           : QStringLiteral("Anuluj"))) {
    setFixedWidth(morvik::Sheet::contentWidth(sheetWidth));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(sidePadding, padding, sidePadding, padding);
    column->setSpacing(0);
    column->addWidget(centredLabel(usePairedMode ? QStringLiteral("Sparowany iPhone")
                                                 : QStringLiteral("Skanuj z iPhone"),
                                   morvik::sheetTitleFont(), Theme::primary));
    if (usePairedMode)
        addPairedPart(column);
    else
        addQrPart(column);
    column->addSpacing(16);
    column->addWidget(m_status);
    column->addSpacing(8);
    column->addWidget(m_hint);
    m_hint->hide();
    column->addSpacing(20);
    m_close->setMinimumWidth(buttonWidth);
    connect(m_close, &morvik::LimeBorderedButton::clicked, this, &IPhoneScanView::cancel);
    column->addWidget(m_close, 0, Qt::AlignHCenter);

    if (usePairedMode) {
        setStatus(QStringLiteral("Serwer działa — otwórz ikonę na iPhone"));
    } else {
        setStatus(QStringLiteral("Uruchamianie serwera…"));
        startServer(recognizer);
    }
}

void IPhoneScanView::addQrPart(QVBoxLayout* column) {
    m_qrCode = new QrCodeView(qrSide, qrPadding);
    m_spinner = new morvik::Spinner(spinnerSize, Theme::textMuted, m_qrCode);
    m_spinner->move(m_qrCode->rect().center() - m_spinner->rect().center());
    m_url = centredLabel(QStringLiteral("http://"), morvik::monoFont(11), Theme::textMuted);
    morvik::addFocusRing(m_url, morvik::navyRing(3, 1));
    m_url->setMinimumHeight(m_url->sizeHint().height()); // keeps its place while it is empty
    m_url->clear();

    column->addSpacing(8);
    column->addWidget(
        hintLabel(QStringLiteral("Zrób zdjęcie kopertal.\nKody kreskowe zostaną rozpoznane "
                                 "automatycznie.")));
    column->addSpacing(20);
    column->addWidget(m_qrCode, 0, Qt::AlignHCenter);
    column->addSpacing(12);
    column->addWidget(m_url);
}

void IPhoneScanView::addPairedPart(QVBoxLayout* column) {
    column->addSpacing(20);
    column->addWidget(new PhoneTile(iconSize, iconPadding), 0, Qt::AlignHCenter);
    column->addSpacing(16);
    column->addWidget(hintLabel(
        QStringLiteral("Otwórz aplikację na sparowanym iPhone\ni zrób zdjęcie kopertal.")));
}

QWidget* IPhoneScanView::defaultButton() const {
    return m_close;
}

void IPhoneScanView::setHintDelay(std::chrono::milliseconds delay) {
    if (m_session)
        m_session->setPatience(delay);
}

void IPhoneScanView::showServerFailure(const QString& failure) {
    morvik::setInk(m_hint, morvik::MorvikTheme::Colors::error);
    m_hint->setText(failure);
    m_hint->setVisible(!failure.isEmpty());
}

void IPhoneScanView::startServer(PhotoRecognizer& recognizer) {
    m_session = new ScanSession(recognizer, this);
    connect(m_session, &ScanSession::ready, this, &IPhoneScanView::showAddress);
    connect(m_session, &ScanSession::failed, this, &IPhoneScanView::showFailure);
    connect(m_session, &ScanSession::phoneMissing, m_hint, &QLabel::show);
    connect(m_session, &ScanSession::phoneConnected, m_hint, &QLabel::hide);
    connect(m_session, &ScanSession::photoReceived, this,
            [this] { setStatus(QStringLiteral("Rozpoznawanie kodów kreskowych…")); });
    connect(m_session, &ScanSession::recognised, this, &IPhoneScanView::handleResult);
    m_session->start();
    // Without its sheet it has no parent that would end it with the program.
    connect(&recognizer, &QObject::destroyed, this, [this] {
        if (m_isClosing && !parent())
            delete this;
    });
}

void IPhoneScanView::showAddress(const QString& address) {
    m_url->setText(address);
    m_url->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_url->setFocusPolicy(Qt::StrongFocus);
    m_hint->setText(reasons(address));
    m_spinner->setVisible(!m_qrCode->setText(address));
    setStatus(QStringLiteral("Gotowe — zeskanuj kod QR"));
}

void IPhoneScanView::showFailure(const QString& description) {
    m_spinner->stop();
    setStatus(QStringLiteral("Błąd: ") + description);
}

void IPhoneScanView::handleResult(const PhotoResult& result) {
    switch (result.outcome) {
    case PhotoOutcome::unreadable:
        setStatus(QStringLiteral("Nie można odczytać zdjęcia"));
        break;
    case PhotoOutcome::none:
        setStatus(QStringLiteral("Nie znaleziono kodu kreskowego — spróbuj ponownie"));
        break;
    case PhotoOutcome::numbers:
        Q_EMIT scanned(result.entries());
        setStatus(QStringLiteral("Rozpoznano %1 kod(ów) — możesz wysłać kolejne zdjęcie")
                      .arg(result.numbers.size()));
        if (!m_isClosing)
            leave();
        break;
    }
}

void IPhoneScanView::setStatus(const QString& text) {
    m_status->setText(text);
    QAccessibleEvent alert(m_status, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

/// Closes the sheet, but stays for the photos on their way.
void IPhoneScanView::leave() {
    m_isClosing = true;
    m_session->stop();
    Q_EMIT closeRequested();
    if (!parent() || isVisible())
        return;
    setParent(nullptr);
    connect(m_session, &ScanSession::ended, this, &QObject::deleteLater);
}

void IPhoneScanView::cancel() {
    delete m_session;
    m_session = nullptr;
    Q_EMIT closeRequested();
}

} // namespace kopertal
