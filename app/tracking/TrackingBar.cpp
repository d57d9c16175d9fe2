#include "app/tracking/TrackingBar.h"

#include "app/common/Theme.h"
#include "engine/Whitespace.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/LimeBorderedButton.h"
#include "ui/PlainToolTip.h"
#include "ui/SmallButtons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

#include <initializer_list>

namespace kopertal {
namespace {

constexpr int sidePadding = 16;
constexpr int linePadding = 12;
constexpr int itemGap = 8;
constexpr int leastField = 170; // shows a whole number
constexpr int widestField = 260;
constexpr int scanIconGap = 4;

} // namespace

TrackingBar::TrackingBar(QWidget* parent) : QWidget(parent) {
    using morvik::LimeBorderedButton;
    m_label =
        morvik::plainLabel(QStringLiteral("Nr nadawczy:"), morvik::textFont(), Theme::textMuted);
    m_number = new QLineEdit;
    m_number->setPlaceholderText(QStringLiteral("np. 00990011223344556677"));
    m_number->setMaximumWidth(morvik::textPixels(widestField));
    m_number->setAccessibleName(QStringLiteral("Nr nadawczy"));
    m_label->setBuddy(m_number);
    m_add = new LimeBorderedButton(QStringLiteral("Dodaj"));
    m_scan = new LimeBorderedButton(QStringLiteral("Skanuj"), QStringLiteral("iphone"));
    m_scan->setIconGap(scanIconGap);
    m_refresh = new LimeBorderedButton(QStringLiteral("Sprawdź statusy"),
                                       QStringLiteral("arrow.clockwise"));
    m_refresh->setToolTip(QKeySequence(QKeySequence::Refresh).toString(QKeySequence::NativeText));
    m_clear = new morvik::IconButton(QStringLiteral("trash"),
                                     QStringLiteral("Wyczyść dane śledzenia"), Theme::textMuted);
    for (LimeBorderedButton* button : {m_add, m_scan, m_refresh})
        button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(sidePadding, linePadding, sidePadding, linePadding);
    line->setSpacing(itemGap);
    line->addWidget(m_label);
    line->addWidget(m_number, 100); // before the free space, up to its greatest width
    line->addWidget(m_add);
    line->addWidget(m_scan);
    line->addStretch(1);
    line->addWidget(m_refresh);
    line->addWidget(m_clear);

    connect(m_number, &QLineEdit::textChanged, this, &TrackingBar::updateAddButton);
    connect(m_number, &QLineEdit::returnPressed, this, &TrackingBar::addRequested);
    connect(m_add, &LimeBorderedButton::clicked, this, &TrackingBar::addRequested);
    connect(m_scan, &LimeBorderedButton::clicked, this, &TrackingBar::scanRequested);
    connect(m_refresh, &LimeBorderedButton::clicked, this, &TrackingBar::refreshRequested);
    connect(m_clear, &morvik::IconButton::clicked, this, &TrackingBar::clearRequested);
    setFocusProxy(m_number);
    updateAddButton();
}

/// Large texts in a small window: the number is worth more than its label.
void TrackingBar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    int needed = 2 * sidePadding + morvik::textPixels(leastField);
    for (const QWidget* other :
         std::initializer_list<QWidget*>{m_label, m_add, m_scan, m_refresh, m_clear})
        needed += itemGap + other->sizeHint().width();
    m_label->setVisible(needed <= width());
}

void TrackingBar::updateAddButton() {
    m_add->setEnabled(!trimmedHorizontally(m_number->text()).isEmpty());
}

void TrackingBar::pressRefresh() {
    m_refresh->click();
}

void TrackingBar::showPhone(bool isPaired, const QString& serverStatus) {
    m_scan->setIconName(isPaired ? QStringLiteral("iphone.radiowaves.left.and.right")
                                 : QStringLiteral("iphone"));
    m_scan->setToolTip(morvik::plainToolTip(serverStatus));
    m_scan->setAccessibleDescription(serverStatus);
}

void TrackingBar::showRows(bool hasRows, bool canRefresh, bool isRefreshing) {
    const bool isLosingFocus = (m_refresh->hasFocus() && !(canRefresh && !isRefreshing)) ||
                               (m_clear->hasFocus() && !hasRows);
    if (isLosingFocus) // else it would go on to the next button
        m_number->setFocus(Qt::OtherFocusReason);
    m_refresh->setBusy(isRefreshing);
    m_refresh->setEnabled(canRefresh && !isRefreshing);
    m_clear->setEnabled(hasRows);
}

} // namespace kopertal
