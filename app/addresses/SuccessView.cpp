#include "app/addresses/SuccessView.h"

#include "app/addresses/CountLine.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/LimeActionButton.h"
#include "ui/Sheet.h"
#include "ui/Tones.h"

#include <QFileInfo>
#include <QLabel>
#include <QVBoxLayout>

namespace kopertal {
namespace {

constexpr int sheetWidth = 480;
constexpr int padding = 20;

} // namespace

SuccessView::SuccessView(qsizetype count, qsizetype pages, const std::optional<QString>& docURL,
                         QWidget* parent)
    : QWidget(parent) {
    using morvik::LimeActionButton;
    using morvik::wrappedLabel;
    namespace Tones = morvik::Tones;
    setFixedWidth(morvik::Sheet::contentWidth(sheetWidth));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(8);
    column->addWidget(wrappedLabel(QStringLiteral("Kopertal wygenerowana"), morvik::headlineFont(),
                                   Tones::label));
    column->addWidget(
        wrappedLabel(successCountLine(count, pages), morvik::smallFont(), Tones::secondaryLabel));
    if (docURL)
        column->addWidget(wrappedLabel(QFileInfo(*docURL).fileName(), morvik::monoFont(11),
                                       Tones::secondaryLabel));

    auto* open = new LimeActionButton(QStringLiteral("Otwórz"), QStringLiteral("doc.text"));
    auto* print = new LimeActionButton(QStringLiteral("Drukuj"), QStringLiteral("printer"));
    m_ok = new LimeActionButton(QStringLiteral("OK"), QStringLiteral("checkmark"));
    connect(open, &LimeActionButton::clicked, this, &SuccessView::openRequested);
    connect(print, &LimeActionButton::clicked, this, &SuccessView::printRequested);
    connect(m_ok, &LimeActionButton::clicked, this, &SuccessView::closeRequested);
    column->addSpacing(8);
    column->addLayout(morvik::actionRow({open, print, m_ok}));
}

QWidget* SuccessView::defaultButton() const {
    return m_ok;
}

} // namespace kopertal
