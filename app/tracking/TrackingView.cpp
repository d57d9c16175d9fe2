#include "app/tracking/TrackingView.h"

#include "app/common/Theme.h"
#include "app/pairing/PairingChoiceView.h"
#include "app/pairing/PairingSetupView.h"
#include "app/scanning/IPhoneScanView.h"
#include "app/settings/AppSettings.h"
#include "app/tracking/PairedServer.h"
#include "app/tracking/ShipmentDetails.h"
#include "app/tracking/TrackingBar.h"
#include "app/tracking/TrackingTable.h"
#include "net/Deliver.h"
#include "net/HttpClient.h"
#include "scan/PhotoRecognizer.h"
#include "tracking/TrackingNumber.h"
#include "tracking/TrackingService.h"
#include "tracking/TrackingTableModel.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/Sheet.h"
#include "ui/Splitter.h"
#include "ui/Tones.h"

#include <QAction>
#include <QDate>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSet>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace kopertal {
namespace {

constexpr int leastTableWidth = 400;
constexpr int leastDetailsWidth = 280;
constexpr int idealDetailsWidth = 320;
constexpr int emptyIcon = 36;
constexpr int emptyIconGap = 16;
constexpr int emptyLineGap = 6;
constexpr qint64 mergingTime = 8; // milliseconds at a time: half a frame

/// A pane of the split around `content`, with room for its focus ring.
QWidget* makePane(QWidget* content, int leastWidth) {
    auto* pane = new QWidget;
    pane->setMinimumWidth(leastWidth);
    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(content);
    morvik::RingShape ring = morvik::navyRing(0, 0);
    ring.inset = QMargins(2, 2, 2, 2);
    morvik::addFocusRing(content, ring);
    return pane;
}

template <typename View>
void openSheet(View* view, const QString& name, QWidget* window) {
    auto* sheet = new morvik::Sheet(view, name, window);
    sheet->setClosesOnEscape(true);
    QObject::connect(view, &View::closeRequested, sheet, &morvik::Sheet::dismiss);
    sheet->open(view->defaultButton());
}

bool hasNumber(const TrackingRow& row) {
    return !row.trackingNumber.isEmpty();
}

} // namespace

/// The service with its client. Apart from the view, so that a view without a refresh has neither.
class StatusClient {
public:
    explicit StatusClient(const TrackingParts& parts)
        : m_client(parts.makeCarrier()), m_service(m_client, parts.access) {}

    QFuture<TrackingResult> fetch(const QString& number) const { return m_service.fetch(number); }

private:
    HttpClient m_client;
    TrackingService m_service;
};

TrackingView::TrackingView(AppSettings& settings, TrackingParts parts, QWidget* parent)
    : QWidget(parent),
      m_settings(settings),
      m_parts(std::move(parts)),
      m_iphoneMode(settings.iphoneMode()),
      m_model(new TrackingTableModel(this)),
      m_recognizer(new PhotoRecognizer({m_parts.recognizerProgram}, this)),
      m_pairedServer(new PairedServer(this)),
      m_bar(new TrackingBar),
      m_pages(new QStackedWidget),
      m_emptyState(makeEmptyState()),
      m_tablePane(makeTablePane()) {
    m_pages->addWidget(m_emptyState);
    m_pages->addWidget(m_tablePane);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_bar);
    column->addWidget(morvik::makeDivider(morvik::Tones::border));
    column->addWidget(m_pages, 1);
    setFocusProxy(m_bar);

    auto* refresh = new QAction(this);
    refresh->setShortcuts(QKeySequence::Refresh);
    refresh->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(refresh);
    connect(refresh, &QAction::triggered, m_bar, &TrackingBar::pressRefresh);
    auto* phoneMode = new QAction(QStringLiteral("&Sposób łączenia z telefonem…"), this);
    addAction(phoneMode);
    connect(phoneMode, &QAction::triggered, this, &TrackingView::showPairingChoice);
    connect(m_bar, &TrackingBar::addRequested, this, &TrackingView::addManualRow);
    connect(m_bar, &TrackingBar::scanRequested, this, &TrackingView::handleScanTap);
    connect(m_bar, &TrackingBar::refreshRequested, this, &TrackingView::refreshStatuses);
    connect(m_bar, &TrackingBar::clearRequested, this, &TrackingView::clearTrackingData);
    connect(m_table, &TrackingTable::rowSelected, this, &TrackingView::selectRow);
    connect(m_model, &TrackingTableModel::rowChanged, this, [this](const QUuid& id) {
        if (id == m_selectedRowID)
            showDetails();
    });
    m_merging.setInterval(0);
    connect(&m_merging, &QTimer::timeout, this, &TrackingView::mergeAnswers);
    connect(m_pairedServer, &PairedServer::started, this, &TrackingView::showPhoneMode);
    connect(m_pairedServer, &PairedServer::photoReceived, this, &TrackingView::handlePairedPhoto);
    connect(&settings, &AppSettings::changed, this, [this] {
        if (m_iphoneMode == m_settings.iphoneMode())
            return;
        m_iphoneMode = m_settings.iphoneMode();
        showPhoneMode();
        startPairedServerIfNeeded();
    });

    showPhoneMode();
    loadRows();
    startPairedServerIfNeeded();
}

TrackingView::~TrackingView() = default;

QWidget* TrackingView::makeEmptyState() {
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setSpacing(0);
    column->addStretch();
    column->addWidget(
        new morvik::IconLabel(QStringLiteral("shippingbox"), emptyIcon, Theme::textMuted), 0,
        Qt::AlignHCenter);
    auto* title = morvik::plainLabel(QStringLiteral("Brak przesyłek do śledzenia"),
                                     morvik::uiFont(14, QFont::Medium), Theme::textMain);
    auto* hint =
        morvik::plainLabel(QStringLiteral("Dodaj numery ręcznie lub zeskanuj kody kreskowe."),
                           morvik::smallFont(), Theme::textMuted);
    column->addSpacing(emptyIconGap);
    column->addWidget(title, 0, Qt::AlignHCenter);
    column->addSpacing(emptyLineGap);
    column->addWidget(hint, 0, Qt::AlignHCenter);
    column->addStretch();
    return page;
}

morvik::Splitter* TrackingView::makeTablePane() {
    m_table = new TrackingTable(*m_model);
    m_details = new ShipmentDetails;
    m_detailsPane = makePane(m_details, leastDetailsWidth);
    m_detailsPane->hide();
    connect(new QShortcut(Qt::Key_Escape, m_details, nullptr, nullptr, Qt::WidgetShortcut),
            &QShortcut::activated, m_table, [this] {
                m_table->setFocus(Qt::OtherFocusReason);
                m_table->clearSelection();
            });
    auto* split = new morvik::Splitter;
    split->setObjectName(QStringLiteral("tracking.panes"));
    split->addWidget(makePane(m_table, leastTableWidth));
    split->addWidget(m_detailsPane);
    split->setStretchFactor(0, 1);
    split->setStretchFactor(1, 0);
    split->setSizes({leastTableWidth, idealDetailsWidth});
    m_detailsWidth = idealDetailsWidth;
    return split;
}

void TrackingView::loadRows() {
    const int scrolled = m_table->verticalScrollBar()->value();
    m_model->setRows(trackingRows(m_settings.loadSentBooks()));
    m_table->selectRowID(m_selectedRowID);
    m_table->verticalScrollBar()->setValue(scrolled);
    showRows();
}

void TrackingView::addTrackingEntries(const QList<ScannedEntry>& entries) {
    const QString today = QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd"));
    SentBook book{QUuid::createUuid(), today, {}, {}};
    QSet<QString> known;
    for (const TrackingRow& row : m_model->rows())
        known.insert(row.trackingNumber);
    for (const ScannedEntry& entry : entries) {
        if (entry.trackingNumber.isEmpty() || known.contains(entry.trackingNumber))
            continue;
        known.insert(entry.trackingNumber);
        book.entries.append({QUuid::createUuid(), entry.name, {}, entry.trackingNumber});
    }
    if (book.entries.isEmpty())
        return;
    m_settings.appendSentBook(book);
    loadRows();
}

void TrackingView::addTrackingEntry(const QString& nr, const QString& name) {
    addTrackingEntries({{nr, name}});
}

void TrackingView::addManualRow() {
    static const QRegularExpression lineEnds(QStringLiteral("[\\r\\n\\x{2028}\\x{2029}]+"));
    QLineEdit& field = m_bar->numberField();
    QList<ScannedEntry> entries;
    for (const QString& number : field.text().split(lineEnds))
        entries.append({cleanBarcode(number), {}});
    addTrackingEntries(entries);
    field.clear();
    field.setFocus(Qt::OtherFocusReason);
}

void TrackingView::clearTrackingData() {
    m_settings.saveSentBooks({});
    m_model->setRows({});
    m_selectedRowID.reset();
    showRows();
}

void TrackingView::refreshStatuses() {
    if (!m_client)
        m_client = std::make_unique<StatusClient>(m_parts);
    const auto left = std::make_shared<qsizetype>(
        std::count_if(m_model->rows().begin(), m_model->rows().end(), hasNumber));
    m_isRefreshing = *left > 0;
    showRows();
    const QList<TrackingRow> rows = m_model->rows();
    for (const TrackingRow& row : rows) {
        if (!hasNumber(row))
            continue;
        deliver(m_client->fetch(row.trackingNumber), this,
                [this, left, id = row.id()](const TrackingResult& result) {
                    m_answers.enqueue({id, result, left});
                    if (!m_merging.isActive())
                        m_merging.start();
                });
    }
}

/// A thousand answers may come in one moment: between two portions the window paints and listens.
void TrackingView::mergeAnswers() {
    QElapsedTimer clock;
    clock.start();
    while (!m_answers.isEmpty() && clock.elapsed() < mergingTime) {
        const Answer answer = m_answers.dequeue();
        m_model->merge(answer.rowID, answer.result);
        if (--*answer.left == 0) {
            m_isRefreshing = false;
            showRows();
        }
    }
    if (m_answers.isEmpty())
        m_merging.stop();
}

void TrackingView::startPairedServerIfNeeded() {
    if (m_settings.iphoneMode() == u"paired")
        m_pairedServer->startIfNeeded();
}

void TrackingView::handlePairedPhoto(const ReceivedPhoto& photo) {
    deliver(m_recognizer->recognize(photoBytes(photo)), this, [this](const PhotoResult& result) {
        if (result.outcome == PhotoOutcome::numbers)
            importScanned(result.entries());
    });
}

void TrackingView::importScanned(const QList<ScannedEntry>& entries) {
    addTrackingEntries(entries);
    refreshStatuses();
}

void TrackingView::handleScanTap() {
    startPairedServerIfNeeded(); // if it could not be had before
    const QString& mode = m_settings.iphoneMode();
    if (mode == u"paired" || mode == u"qr")
        showIPhoneScan();
    else
        showPairingChoice();
}

void TrackingView::showPairingChoice() {
    auto* view = new PairingChoiceView;
    connect(view, &PairingChoiceView::choice, this, [this](const QString& mode) {
        m_settings.setIphoneMode(mode);
        // When this sheet has given the keyboard back.
        QMetaObject::invokeMethod(this,
                                  mode == u"paired" ? &TrackingView::showPairingSetup
                                                    : &TrackingView::showIPhoneScan,
                                  Qt::QueuedConnection);
    });
    openSheet(view, QStringLiteral("Sparuj iPhone'a"), window());
}

/// While it is shown, its own server may hold the paired port.
void TrackingView::showPairingSetup() {
    auto* view = new PairingSetupView(m_parts.pairingPage);
    connect(view, &QObject::destroyed, this, &TrackingView::startPairedServerIfNeeded);
    openSheet(view, QStringLiteral("Parowanie iPhone'a"), window());
}

void TrackingView::showIPhoneScan() {
    const bool isPaired = m_settings.iphoneMode() == u"paired";
    auto* view = new IPhoneScanView(*m_recognizer, isPaired);
    connect(view, &IPhoneScanView::scanned, this, &TrackingView::importScanned);
    if (isPaired) {
        const auto showFailure = [this, view] {
            view->showServerFailure(m_pairedServer->failure());
        };
        connect(m_pairedServer, &PairedServer::started, view, showFailure);
        showFailure();
    }
    openSheet(view,
              isPaired ? QStringLiteral("Sparowany iPhone") : QStringLiteral("Skanuj z iPhone"),
              window());
}

void TrackingView::selectRow(const std::optional<QUuid>& id) {
    m_selectedRowID = id;
    showDetails();
}

void TrackingView::showPhoneMode() {
    m_bar->showPhone(m_settings.iphoneMode() == u"paired", m_pairedServer->status());
}

void TrackingView::showRows() {
    const QList<TrackingRow>& rows = m_model->rows();
    m_pages->setCurrentWidget(rows.isEmpty() ? m_emptyState : m_tablePane);
    m_bar->showRows(!rows.isEmpty(), std::any_of(rows.begin(), rows.end(), hasNumber),
                    m_isRefreshing);
    showDetails();
}

void TrackingView::showDetails() {
    const std::optional<int> position =
        m_selectedRowID ? m_model->positionOf(*m_selectedRowID) : std::nullopt;
    if (position)
        m_details->showRow(m_model->rowAt(*position));
    if (m_detailsPane->isHidden() != position.has_value())
        return;
    m_detailsPane->setVisible(position.has_value());
    // When the splitter has placed it.
    QMetaObject::invokeMethod(this, &TrackingView::fitDetails, Qt::QueuedConnection);
}

void TrackingView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fitDetails();
}

/// In a small window the details leave the table some of their ideal width, unless the user has
/// chosen one.
void TrackingView::fitDetails() {
    if (m_detailsPane->isHidden() || m_tablePane->sizes()[1] != m_detailsWidth)
        return;
    const int whole = m_tablePane->width() - m_tablePane->handleWidth();
    m_detailsWidth =
        std::clamp(whole - m_table->wantedWidth(), leastDetailsWidth, idealDetailsWidth);
    m_tablePane->setSizes({whole - m_detailsWidth, m_detailsWidth});
}

} // namespace kopertal
