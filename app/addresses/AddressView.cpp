#include "app/addresses/AddressView.h"

#include "app/addresses/AddressLoading.h"
#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/CountLine.h"
#include "app/addresses/Generation.h"
#include "app/addresses/RecipientModel.h"
#include "app/addresses/SuccessView.h"
#include "app/addresses/WarningsBox.h"
#include "app/common/ErrorAlert.h"
#include "app/common/Theme.h"
#include "app/printing/LoadedPrintWork.h"
#include "app/printing/PrintView.h"
#include "app/settings/AppSettings.h"
#include "engine/RegisterPages.h"
#include "net/Deliver.h"
#include "ui/BorderFrame.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/LimeActionButton.h"
#include "ui/PanelHelper.h"
#include "ui/SectionCard.h"
#include "ui/Sheet.h"
#include "ui/SmallButtons.h"
#include "ui/Splitter.h"
#include "ui/TableView.h"

#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QHeaderView>
#include <QLabel>
#include <QMimeData>
#include <QPointer>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>

namespace kopertal {

using morvik::plainLabel;

namespace {

constexpr int blockGap = 12;
constexpr int leastEditorWidth = 320;
constexpr int leastPreviewWidth = 300;
constexpr double nameShare = 0.41; // of the width that name and address have
constexpr int cardPadding =
    3; // the text's own margin is the editor's, so that its bar stands at the edge
constexpr int textMargin = 13;
constexpr double tableRadius = 10;
constexpr std::chrono::milliseconds loadingShownAfter{200}; // most files are read by then

} // namespace

AddressView::AddressView(AppSettings& settings, QWidget* parent)
    : QWidget(parent), m_settings(settings) {
    setAcceptDrops(true);
    auto* split = new morvik::Splitter;
    split->setObjectName(QStringLiteral("addresses.panes"));
    split->addWidget(makeEditorPane());
    split->addWidget(makePreviewPane());
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 4);
    split->setSizes({420, 580});
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(split);

    connect(m_editor, &AddressTextEditor::edited, this, &AddressView::showEdit);
    connect(m_editor, &AddressTextEditor::filesReceived, this, &AddressView::handleDrop);
    connect(m_editor, &AddressTextEditor::refused, this, &showError);
    connect(m_generate, &morvik::LimeActionButton::clicked, this, &AddressView::generateDocument);
    updateButton();
}

AddressView::~AddressView() = default;

QWidget* AddressView::makeEditorPane() {
    auto* pane = new QWidget;
    pane->setMinimumWidth(leastEditorWidth);
    auto* clearButton = new morvik::IconButton(
        QStringLiteral("trash"), QStringLiteral("Wyczyść adresy (⌘⌫)"), Theme::textMuted);
    clearButton->setAccessibleName(QStringLiteral("Wyczyść adresy"));
    clearButton->setMeasures(24, 16);
    connect(clearButton, &morvik::IconButton::clicked, this, &AddressView::clear);
    auto* header = new QHBoxLayout;
    header->addWidget(new morvik::IconLabel(QStringLiteral("list.bullet"), 16, Theme::textMain));
    header->addWidget(
        plainLabel(QStringLiteral("Adresy odbiorców"), morvik::paneTitleFont(), Theme::textMain),
        1);
    m_loading =
        plainLabel(QStringLiteral("Wczytywanie pliku…"), morvik::smallFont(), Theme::textMuted);
    m_loading->hide();
    header->addWidget(m_loading);
    header->addWidget(clearButton);
    auto* column = morvik::paneColumn(pane, header);

    m_editor = new AddressTextEditor;
    m_editor->document()->setDocumentMargin(textMargin);
    auto* card = new morvik::SectionCard({}, m_editor);
    card->setPadding(cardPadding);
    card->followFocusOf(m_editor);
    m_warnings = new WarningsBox;
    m_generate = new morvik::LimeActionButton(QStringLiteral("Stwórz kopertal"),
                                              QStringLiteral("doc.badge.plus"));
    auto* blocks = new QVBoxLayout;
    blocks->setSpacing(blockGap);
    blocks->addWidget(card, 1);
    blocks->addWidget(m_warnings);
    blocks->addWidget(m_generate);
    column->addLayout(blocks, 1);
    return pane;
}

QWidget* AddressView::makePreviewPane() {
    auto* pane = new QWidget;
    pane->setMinimumWidth(leastPreviewWidth);
    m_count = plainLabel({}, morvik::textFont(), Theme::textMuted);
    auto* header = new QHBoxLayout;
    header->addWidget(
        plainLabel(QStringLiteral("Podgląd adresów"), morvik::paneTitleFont(), Theme::textMain));
    header->addStretch();
    header->addWidget(m_count);
    auto* column = morvik::paneColumn(pane, header);

    m_empty = new morvik::BorderFrame;
    auto* hint = new QVBoxLayout(m_empty);
    hint->setSpacing(blockGap);
    hint->addStretch();
    hint->addWidget(new morvik::IconLabel(QStringLiteral("envelope.open"), 32, Theme::textMuted), 0,
                    Qt::AlignHCenter);
    hint->addWidget(
        plainLabel(QStringLiteral("Wpisz adresy po lewej"), morvik::textFont(), Theme::textMuted),
        0, Qt::AlignHCenter);
    hint->addStretch();

    m_model = new RecipientModel(m_editor->live(), this);
    m_table = new morvik::TableView;
    m_table->setModel(m_model);
    m_table->setObjectName(QStringLiteral("addresses.columns"));
    m_table->setBordered(true);
    m_table->setAccessibleName(QStringLiteral("Podgląd adresów"));
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setColumnWidth(RecipientModel::number, morvik::textPixels(40));
    m_table->horizontalHeader()->setSectionResizeMode(RecipientModel::number, QHeaderView::Fixed);
    m_table->shareWidth(RecipientModel::name, nameShare);
    morvik::addFocusRing(m_table, morvik::navyRing(tableRadius, 0));
    m_table->hide();
    column->addWidget(m_empty, 1);
    column->addWidget(m_table, 1);
    return pane;
}

void AddressView::showEdit(const LiveRecipients::Change& change) {
    m_model->apply(change);
    const qsizetype count = m_editor->live().recipients().size();
    m_count->setText(count > 0 ? previewCountLine(count, pageCount(count)) : QString());
    m_empty->setVisible(count == 0);
    m_table->setVisible(count > 0);
    if (change.warningsChanged)
        m_warnings->setWarnings(m_editor->live().warnings());
    updateButton();
}

void AddressView::updateButton() {
    m_generate->setProcessing(m_isGenerating);
    m_generate->setEnabled(!m_isGenerating && !m_editor->live().recipients().isEmpty());
}

void AddressView::clear() {
    m_editor->replaceText({});
    m_editor->setFocus(Qt::OtherFocusReason); // where the step can be undone
}

void AddressView::chooseFile() {
    const QPointer<AddressView> self(this); // the panel's loop may outlive the view
    morvik::PanelHelper::chooseSingleFile({}, [&](const QUrl& file) {
        if (self)
            self->loadFile(file.toLocalFile());
    });
}

void AddressView::loadFile(const QString& path) {
    const int load = ++m_loads;
    QTimer::singleShot(loadingShownAfter, this,
                       [this, load] { m_loading->setVisible(m_loads == load && m_isLoading); });
    m_isLoading = true;
    deliver(startLoading(path), this, [this, load](const QFuture<LoadedAddresses>& read) {
        if (load != m_loads)
            return;
        m_isLoading = false;
        m_loading->hide();
        const LoadedAddresses loaded = read.result();
        if (loaded.text)
            m_editor->replaceText(*loaded.text);
        else if (!loaded.refusal.isEmpty())
            showError(loaded.refusal);
    });
}

bool AddressView::handleDrop(const QList<QUrl>& urls) {
    const auto file =
        std::find_if(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); });
    if (file == urls.end())
        return false;
    loadFile(file->toLocalFile());
    return true;
}

void AddressView::dragEnterEvent(QDragEnterEvent* event) {
    const QList<QUrl> urls = event->mimeData()->urls();
    if (std::any_of(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); }))
        event->acceptProposedAction();
}

void AddressView::dropEvent(QDropEvent* event) {
    if (handleDrop(event->mimeData()->urls()))
        event->acceptProposedAction();
}

void AddressView::generateDocument() {
    const QList<ParsedAddress>& recipients = m_editor->live().recipients();
    if (m_isGenerating || recipients.isEmpty() || m_settings.saveFolder().isEmpty())
        return;
    m_isGenerating = true;
    m_generate->clearFocus(); // else disabling it would hand the keyboard to its neighbour
    updateButton();
    deliver(startGeneration({recipients, m_settings.saveFolder(), m_settings.senderName(),
                             m_settings.senderAddress(), QDate::currentDate()},
                            m_stop.get_token()),
            this,
            [this](const QFuture<GenerationResult>& made) { finishGeneration(made.result()); });
}

void AddressView::finishGeneration(const GenerationResult& result) {
    const bool hadFocus = m_generate->hasFocus() || !window()->focusWidget();
    m_isGenerating = false;
    updateButton();
    if (hadFocus)
        m_generate->setFocus(Qt::OtherFocusReason);
    if (!result.error.isEmpty()) {
        showError(result.error);
    } else if (!result.document.isEmpty()) {
        m_generatedCount = result.recipients;
        m_generatedPages = result.pages;
        m_lastDocURL = result.document;
        presentSuccess();
    }
}

void AddressView::presentSuccess() {
    auto* view = new SuccessView(m_generatedCount, m_generatedPages, m_lastDocURL);
    auto* sheet = new morvik::Sheet(view, QStringLiteral("Kopertal wygenerowana"), window());
    sheet->setClosesOnEscape(true);
    connect(view, &SuccessView::closeRequested, sheet, &morvik::Sheet::dismiss);
    connect(view, &SuccessView::openRequested, this, [document = m_lastDocURL] {
        if (document && !QDesktopServices::openUrl(QUrl::fromLocalFile(*document)))
            showError(QStringLiteral("Nie udało się otworzyć dokumentu: %1").arg(*document));
    });
    connect(view, &SuccessView::printRequested, this, [this, document = m_lastDocURL] {
        if (document)
            presentPrinting(*document);
    });
    sheet->open(view->defaultButton());
}

void AddressView::presentPrinting(const QString& document) {
    auto* view = new PrintView(document, loadPrintWork());
    auto* sheet = new morvik::Sheet(view, QStringLiteral("Drukowanie"), window());
    connect(view, &PrintView::closeRequested, sheet, &morvik::Sheet::dismiss);
    connect(view, &PrintView::failed, this, &showError);
    sheet->open(view->defaultButton());
}

} // namespace kopertal
