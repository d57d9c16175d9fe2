#pragma once

#include <QWidget>

#include <vector>

namespace morvik {
class TabButton;
}

namespace kopertal {

class FadingStack;

enum class AppTab { addresses, tracking };

/// The tab's title.
QString title(AppTab tab);

/// The main window's content: the top bar, the tab bar and the tabs' contents, all of which live as
/// long as it does.
class ContentView : public QWidget {
    Q_OBJECT

public:
    /// Less is never legible, however small the texts are.
    static constexpr QSize leastSize{760, 600};

    explicit ContentView(QWidget* parent = nullptr);

    /// Takes `page` over; the first one is selected. To be called in the tabs' order.
    void addTab(AppTab tab, QWidget* page);

    AppTab selectedTab() const;
    void selectTab(AppTab tab);

Q_SIGNALS:
    void tabSelected(kopertal::AppTab tab);
    /// It is shown for the first time.
    void appeared();

protected:
    void showEvent(QShowEvent* event) override;

private:
    int indexOf(AppTab tab) const;

    QWidget* m_tabBar;
    FadingStack* m_pages;
    std::vector<AppTab> m_tabs;
    std::vector<morvik::TabButton*> m_buttons;
    bool m_hasAppeared = false;
};

} // namespace kopertal
