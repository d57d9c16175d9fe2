#pragma once

#include "app/shell/ContentView.h"

#include <QMainWindow>
#include <QPointer>

class QMenu;

namespace kopertal {

class AddressView;
class AppSettings;

/// The program's window: its content, its menus, the sender's form at the first start and as the
/// settings window. Closing it ends the program, and closes every other window.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    /// `settings` outlives the window.
    explicit MainWindow(AppSettings& settings);

    ContentView& content() { return *m_content; }
    AddressView& addresses() { return *m_addresses; }

    /// Adds the second tab; takes `page` over, and has its actions in the menu "Widok".
    void addTrackingTab(QWidget* page);
    /// Those with a title, to work while the tab is shown.
    void addViewActions(AppTab tab, const QList<QAction*>& actions);

    QMenu* applicationMenu() { return m_applicationMenu; }
    /// The last menu; it stands in the bar from the first call on.
    QMenu* helpMenu();

    /// Brings the window to the front, out of the task bar too.
    void raiseToFront();

public Q_SLOTS:
    void showSettings();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void addApplicationMenu();
    void addEditMenu();
    void addViewMenu();
    void addTabAction(AppTab tab);
    void enableWith(AppTab tab, QAction* action);
    void showSenderSheet();

    AppSettings& m_settings;
    ContentView* m_content;
    AddressView* m_addresses;
    QMenu* m_applicationMenu = nullptr;
    QMenu* m_viewMenu = nullptr;
    QMenu* m_helpMenu = nullptr;
    QPointer<QWidget> m_settingsWindow;
};

} // namespace kopertal
