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
///
/// It appears as an empty frame. The content and the menus are made when that has been painted, or
/// when the first of them is asked for: while the desktop maps the frame, the fonts are read.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    /// `settings` outlives the window.
    explicit MainWindow(AppSettings& settings);

    ContentView& content();
    AddressView& addresses();

    /// Adds the second tab; takes `page` over, and has its actions in the menu "Widok".
    void addTrackingTab(QWidget* page);
    /// Those with a title, to work while the tab is shown.
    void addViewActions(AppTab tab, const QList<QAction*>& actions);

    QMenu* applicationMenu();
    /// The last menu; it stands in the bar from the first call on.
    QMenu* helpMenu();

    /// Known before the content is made, though not for large texts.
    QSize minimumSizeHint() const override;

    /// Brings the window to the front, out of the task bar too.
    void raiseToFront();

public Q_SLOTS:
    void showSettings();

Q_SIGNALS:
    /// The content and the menus are made and about to be shown: the time to add to them.
    void filled();

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void fill();
    void addApplicationMenu();
    void addEditMenu();
    void addViewMenu();
    void addTabAction(AppTab tab);
    void enableWith(AppTab tab, QAction* action);
    void showSenderSheet();

    AppSettings& m_settings;
    ContentView* m_content = nullptr; // until it is made
    AddressView* m_addresses = nullptr;
    QMenu* m_applicationMenu = nullptr;
    QMenu* m_viewMenu = nullptr;
    QMenu* m_helpMenu = nullptr;
    QPointer<QWidget> m_settingsWindow;
};

} // namespace kopertal
