#include "app/shell/ContentView.h"

#include "app/common/Theme.h"
#include "app/shell/FadingStack.h"
#include "ui/AccessibleRole.h"
#include "ui/Fonts.h"
#include "ui/Labels.h"
#include "ui/Layouts.h"
#include "ui/MorvikFooter.h"
#include "ui/SmallButtons.h"

#include <QGridLayout>
#include <QLabel>

#include <algorithm>

namespace kopertal {
namespace {

constexpr int topBarHeight = 40;
constexpr int topBarPadding = 16;

QWidget* makeTopBar() {
    auto* bar = new QWidget;
    bar->setMinimumHeight(topBarHeight);
    auto* name =
        morvik::plainLabel(QStringLiteral("Kopertal"), morvik::paneTitleFont(), Theme::textMuted);
    auto* grid = new QGridLayout(bar); // three columns, so that the name stands in the middle
    grid->setContentsMargins(topBarPadding, 0, topBarPadding, 0);
    grid->addWidget(new morvik::MorvikFooter, 0, 0, Qt::AlignLeft | Qt::AlignVCenter);
    grid->addWidget(name, 0, 1);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(2, 1);
    return bar;
}

} // namespace

QString title(AppTab tab) {
    return tab == AppTab::addresses ? QStringLiteral("Adresy odbiorców")
                                    : QStringLiteral("Śledzenie listów poleconych");
}

ContentView::ContentView(QWidget* parent)
    : QWidget(parent), m_tabBar(new QWidget), m_pages(new FadingStack) {
    setMinimumSize(leastSize);
    morvik::setGround(this, Theme::bg);
    morvik::setAccessibleRole(m_tabBar, QAccessible::PageTabList);
    auto* tabs = new QHBoxLayout(m_tabBar);
    tabs->setContentsMargins(0, 0, 0, 0);
    tabs->setSpacing(0);
    tabs->addStretch();
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeTopBar());
    column->addWidget(morvik::makeDivider(Theme::brand));
    column->addWidget(m_tabBar);
    column->addWidget(morvik::makeDivider(Theme::brand));
    column->addWidget(m_pages, 1);
}

void ContentView::addTab(AppTab tab, QWidget* page) {
    auto* button = new morvik::TabButton(title(tab));
    button->setChecked(m_tabs.empty());
    connect(button, &morvik::TabButton::clicked, this, [this, tab] { selectTab(tab); });
    auto* tabs = static_cast<QHBoxLayout*>(m_tabBar->layout());
    tabs->insertWidget(static_cast<int>(m_buttons.size()), button);
    if (!m_buttons.empty()) // before the pages, for the keyboard too
        setTabOrder(m_buttons.back(), button);
    m_tabs.push_back(tab);
    m_buttons.push_back(button);
    m_pages->addWidget(page);
}

AppTab ContentView::selectedTab() const {
    return m_tabs.empty() ? AppTab::addresses
                          : m_tabs[static_cast<size_t>(m_pages->currentIndex())];
}

void ContentView::selectTab(AppTab tab) {
    const int index = indexOf(tab);
    if (index < 0)
        return;
    for (morvik::TabButton* button : m_buttons) // a click on the selected one has released it
        button->setChecked(button == m_buttons[static_cast<size_t>(index)]);
    if (index == m_pages->currentIndex())
        return;
    m_pages->fadeTo(index);
    Q_EMIT tabSelected(tab);
}

int ContentView::indexOf(AppTab tab) const {
    const auto found = std::find(m_tabs.begin(), m_tabs.end(), tab);
    return found == m_tabs.end() ? -1 : static_cast<int>(found - m_tabs.begin());
}

void ContentView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (m_hasAppeared)
        return;
    m_hasAppeared = true;
    Q_EMIT appeared();
}

} // namespace kopertal
