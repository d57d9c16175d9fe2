#include "app/sender/SenderSetupView.h"

#include "app/common/Theme.h"
#include "app/settings/AppSettings.h"
#include "ui/BorderFrame.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/LimeActionButton.h"
#include "ui/LimeBorderedButton.h"
#include "ui/MorvikStyle.h"
#include "ui/PanelHelper.h"
#include "ui/Tones.h"

#include <QAccessible>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPointer>

#include <algorithm>

namespace kopertal {

using morvik::plainLabel;
using morvik::wrappedLabel;

namespace {

constexpr int padding = 28;
constexpr int itemGap = 20;
constexpr int labelWidth = 120;
constexpr int folderButtonWidth = 28;
constexpr int leastWidth = 560; // its contents are always higher than the least height of 280

/// Without spaces and tabs at both ends; line breaks and other white space stay.
QString trimmedOfBlanks(const QString& text) {
    const auto isBlank = [](QChar c) { return c == u' ' || c == u'\t'; };
    const auto first = std::find_if_not(text.begin(), text.end(), isBlank);
    const auto last = std::find_if_not(text.rbegin(), text.rend(), isBlank).base();
    return first < last ? QString(first, last - first) : QString();
}

/// The message in its pale red box.
class ErrorBox : public QLabel {
public:
    ErrorBox() {
        setTextFormat(Qt::PlainText);
        setFont(morvik::smallFont());
        setWordWrap(true);
        setMargin(8);
        morvik::setInk(this, red());
        hide();
    }

protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        morvik::paintFrame(painter, rect(), 4, morvik::Tones::faded(red(), 0.3),
                           morvik::Tones::faded(red(), 0.05));
        painter.end();
        QLabel::paintEvent(event);
    }

private:
    static QColor red() { return morvik::MorvikTheme::Colors::error; }
};

} // namespace

SenderSetupView::SenderSetupView(AppSettings& settings, bool isSettingsMode, QWidget* parent)
    : QWidget(parent),
      m_settings(settings),
      m_isSettingsMode(isSettingsMode),
      m_name(new QLineEdit(settings.senderName())),
      m_address(new QLineEdit(settings.senderAddress())),
      m_folder(new QLineEdit(settings.saveFolder())),
      m_error(new ErrorBox) {
    setMinimumWidth(leastWidth);
    auto* header = new QVBoxLayout;
    header->setSpacing(6);
    header->addWidget(
        plainLabel(QStringLiteral("Dane nadawcy"), morvik::sheetTitleFont(), Theme::primary));
    header->addWidget(
        wrappedLabel(QStringLiteral("Podaj dane, które będą drukowane w nagłówku każdej kopertal."),
                     morvik::textFont(), Theme::textMuted));

    using morvik::LimeActionButton;
    auto* cancel = new LimeActionButton(QStringLiteral("Anuluj"), QStringLiteral("xmark"));
    auto* save = new LimeActionButton(QStringLiteral("Zapisz"), QStringLiteral("checkmark"));
    connect(cancel, &LimeActionButton::clicked, this, &SenderSetupView::closeRequested);
    connect(save, &LimeActionButton::clicked, this, &SenderSetupView::save);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(itemGap);
    column->addLayout(header);
    column->addWidget(m_error);
    column->addWidget(makeForm());
    column->addStretch();
    column->addLayout(morvik::actionRow({cancel, save}));
}

QWidget* SenderSetupView::makeForm() {
    m_name->setPlaceholderText(QStringLiteral("np. Firma Handlowa Kowalski Sp. z o.o."));
    m_address->setPlaceholderText(QStringLiteral("np. ul. Marszałkowska 1, 00-001 Warszawa"));
    m_folder->setPlaceholderText(QStringLiteral("Wybierz folder…"));
    auto* choose = new morvik::LimeBorderedButton(QStringLiteral("…"));
    choose->setSidePadding(4);
    choose->setFixedWidth(folderButtonWidth);
    choose->setToolTip(QStringLiteral("Wybierz folder zapisu"));
    choose->setAccessibleName(QStringLiteral("Wybierz folder zapisu"));
    connect(choose, &morvik::LimeBorderedButton::clicked, this, &SenderSetupView::chooseFolder);

    auto* form = new QWidget;
    auto* grid = new QGridLayout(form);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(12);
    grid->setColumnMinimumWidth(0, labelWidth);
    grid->setColumnStretch(1, 1);
    const auto addRow = [&](int row, const QString& title, QLineEdit* field) {
        auto* label = plainLabel(title, morvik::textFont(), Theme::textMuted);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        label->setBuddy(field);
        field->setAccessibleName(title.chopped(1));
        connect(field, &QLineEdit::returnPressed, this, &SenderSetupView::save);
        grid->addWidget(label, row, 0);
    };
    addRow(0, QStringLiteral("Nazwa:"), m_name);
    addRow(1, QStringLiteral("Adres:"), m_address);
    addRow(2, QStringLiteral("Folder zapisu:"), m_folder);
    grid->addWidget(m_name, 0, 1);
    grid->addWidget(m_address, 1, 1);
    auto* folderRow = new QHBoxLayout;
    folderRow->setSpacing(8);
    folderRow->addWidget(m_folder, 1);
    folderRow->addWidget(choose);
    grid->addLayout(folderRow, 2, 1);
    return form;
}

QWidget* SenderSetupView::firstField() const {
    return m_name;
}

void SenderSetupView::chooseFolder() {
    const QPointer<SenderSetupView> self(this); // the panel's loop may outlive the view
    const std::optional<QUrl> folder = morvik::PanelHelper::chooseDirectory();
    if (self && folder)
        self->m_folder->setText(folder->toLocalFile());
}

void SenderSetupView::save() {
    const QString name = trimmedOfBlanks(m_name->text());
    const QString address = trimmedOfBlanks(m_address->text());
    const QString folder = trimmedOfBlanks(m_folder->text());
    for (QLineEdit* field : {m_name, m_address, m_folder})
        morvik::setInvalid(field, false);
    if (name.isEmpty() || address.isEmpty()) {
        QList<QLineEdit*> missing;
        if (name.isEmpty())
            missing << m_name;
        if (address.isEmpty())
            missing << m_address;
        refuse(QStringLiteral("Uzupełnij nazwę i adres nadawcy."), missing);
        return;
    }
    if (folder.isEmpty() || !QFileInfo::exists(folder)) {
        refuse(QStringLiteral("Wskaż istniejący folder zapisu."), {m_folder});
        return;
    }
    m_settings.setSenderName(name);
    m_settings.setSenderAddress(address);
    m_settings.setSaveFolder(folder);
    Q_EMIT closeRequested();
}

void SenderSetupView::refuse(const QString& message, const QList<QLineEdit*>& fields) {
    m_error->setText(message);
    m_error->show();
    for (QLineEdit* field : fields)
        morvik::setInvalid(field, true);
    fields.front()->setFocus(Qt::OtherFocusReason);
    QAccessibleEvent alert(m_error, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
    updateGeometry();
}

void SenderSetupView::paintEvent(QPaintEvent*) {
    if (!m_isSettingsMode)
        return; // the sheet draws the frame
    QPainter painter(this);
    painter.fillRect(rect(), Theme::bg);
    painter.setPen(QPen(Theme::brand, 2));
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

} // namespace kopertal
