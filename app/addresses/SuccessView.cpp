#include "app/addresses/SuccessView.h"

#include "app/addresses/CountLine.h"
#include "ui/Fonts.h"
#include "ui/LimeActionButton.h"
#include "ui/TextLabel.h"
#include "ui/Tones.h"

#include <QFileInfo>
#include <QLabel>
#include <QVBoxLayout>

namespace kopertal {
namespace {

constexpr int sheetWidth = 480;
constexpr int padding = 20;
constexpr int buttonGap = 16;

QLabel* label(const QString& text, const QFont& font, const QColor& color) {
    QLabel* line = morvik::textLabel(text, font, color);
    line->setWordWrap(true);
    return line;
}

} // namespace

SuccessView::SuccessView(qsizetype count, qsizetype pages, const std::optional<QString>& docURL,
                         QWidget* parent)
    : QWidget(parent) {
    using morvik::LimeActionButton;
    namespace Tones = morvik::Tones;
    setFixedWidth(sheetWidth);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(8);
    column->addWidget(
        label(QStringLiteral("Kopertal wygenerowana"), morvik::headlineFont(), Tones::label));
    column->addWidget(
        label(successCountLine(count, pages), morvik::smallFont(), Tones::secondaryLabel));
    if (docURL)
        column->addWidget(
            label(QFileInfo(*docURL).fileName(), morvik::monoFont(11), Tones::secondaryLabel));

    auto* open = new LimeActionButton(QStringLiteral("Otwórz"), QStringLiteral("doc.text"));
    auto* print = new LimeActionButton(QStringLiteral("Drukuj"), QStringLiteral("printer"));
    print->setEnabled(false);
    print->setToolTip(QStringLiteral("Otwórz dokument i wydrukuj go z edytora tekstu."));
    m_ok = new LimeActionButton(QStringLiteral("OK"), QStringLiteral("checkmark"));
    connect(open, &LimeActionButton::clicked, this, &SuccessView::openRequested);
    connect(m_ok, &LimeActionButton::clicked, this, &SuccessView::closeRequested);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(buttonGap);
    for (LimeActionButton* button : {open, print, m_ok})
        buttons->addWidget(button, 1);
    column->addSpacing(8);
    column->addLayout(buttons);
}

QWidget* SuccessView::defaultButton() const {
    return m_ok;
}

} // namespace kopertal
