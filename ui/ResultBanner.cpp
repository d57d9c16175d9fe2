#include "ui/ResultBanner.h"

#include "ui/BorderFrame.h"
#include "ui/Fonts.h"
#include "ui/IconLabel.h"
#include "ui/Labels.h"
#include "ui/MorvikTheme.h"
#include "ui/SmallButtons.h"
#include "ui/Tones.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>

namespace morvik {
namespace {

constexpr int padding = 10;
constexpr double radius = 10;

QColor colorOf(ResultBanner::Style style) {
    return style == ResultBanner::Style::success ? MorvikTheme::Colors::success
                                                 : MorvikTheme::Colors::error;
}

} // namespace

ResultBanner::ResultBanner(const QString& message, Style style, std::function<void()> onDismiss,
                           QWidget* parent)
    : QFrame(parent), m_style(style) {
    const bool isError = style == Style::error;
    auto* text = wrappedLabel(message, textFont(), isError ? colorOf(style) : Tones::label);
    auto* dismiss = new IconButton(QStringLiteral("xmark.circle.fill"), QStringLiteral("Zamknij"),
                                   Tones::secondaryLabel);
    connect(dismiss, &IconButton::clicked, this, [call = std::move(onDismiss)] {
        if (call)
            call();
    });

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(padding, padding, padding, padding);
    row->addWidget(new IconLabel(isError ? QStringLiteral("exclamationmark.triangle.fill")
                                         : QStringLiteral("checkmark.circle.fill"),
                                 16, colorOf(style)));
    row->addWidget(text, 1);
    row->addWidget(dismiss);
}

void ResultBanner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintFrame(painter, rect(), radius, Qt::NoPen, Tones::faded(colorOf(m_style), 0.08));
}

} // namespace morvik
