#include "app/shell/MainWindow.h"

#include "app/addresses/AddressTextEditor.h"
#include "app/addresses/AddressView.h"
#include "app/common/ErrorAlert.h"
#include "app/common/Theme.h"
#include "app/sender/SenderSetupView.h"
#include "app/settings/AppSettings.h"
#include "ui/AccessibleRole.h"
#include "ui/Labels.h"
#include "ui/RaiseWindow.h"
#include "ui/Sheet.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenuBar>
#include <QScreen>
#include <QShortcut>

#include <utility>

namespace kopertal {
namespace {

constexpr QSize firstSize{1000, 688};

/// What the items of the edit menu do to the text that has the keyboard.
void editFocused(const char* slot) {
    QWidget* focused = QApplication::focusWidget();
    if (!focused)
        return;
    if (auto* editor = qobject_cast<AddressTextEditor*>(focused)) {
        if (qstrcmp(slot, "undo") == 0)
            editor->undoStep();
        else if (qstrcmp(slot, "redo") == 0)
            editor->redoStep();
        else
            QMetaObject::invokeMethod(editor, slot);
    } else if (focused->metaObject()->indexOfSlot(QByteArray(slot) + "()") >= 0) {
        QMetaObject::invokeMethod(focused, slot);
    }
}

} // namespace

MainWindow::MainWindow(AppSettings& settings) : m_settings(settings) {
    setWindowTitle(QStringLiteral("Kopertal"));
    setAcceptDrops(false);
    morvik::setGround(this, Theme::bg);
    resize(firstSize.boundedTo(screen()->availableSize()));
    connect(&settings, &AppSettings::savingFailed, this, [] {
        showError(QStringLiteral("Nie udało się zapisać ustawień w folderze %1. Zmiany działają do "
                                 "zamknięcia programu. Sprawdź, czy na dysku jest miejsce i czy "
                                 "wolno Ci zapisywać w tym folderze.")
                      .arg(QFileInfo(PreferencesStore::defaultPath()).path()));
    });
}

void MainWindow::fill() {
    if (m_content)
        return;
    m_content = new ContentView;
    m_addresses = new AddressView(m_settings);
    addApplicationMenu();
    addEditMenu();
    addViewMenu();
    m_content->addTab(AppTab::addresses, m_addresses);
    addTabAction(AppTab::addresses);
    connect(m_content, &ContentView::appeared, this, [this] {
        m_addresses->editor().setFocus();
        if (m_settings.isSenderDataMissing())
            showSenderSheet();
    });
    Q_EMIT filled();
    setCentralWidget(m_content);
    if (isVisible()) { // what comes into a visible window would be shown only later
        menuBar()->show();
        m_content->show();
    }
}

ContentView& MainWindow::content() {
    fill();
    return *m_content;
}

AddressView& MainWindow::addresses() {
    fill();
    return *m_addresses;
}

QMenu* MainWindow::applicationMenu() {
    fill();
    return m_applicationMenu;
}

void MainWindow::addTrackingTab(QWidget* page) {
    content().addTab(AppTab::tracking, page);
    addTabAction(AppTab::tracking);
    addViewActions(AppTab::tracking, page->actions());
}

void MainWindow::addViewActions(AppTab tab, const QList<QAction*>& actions) {
    bool isFirst = true;
    for (QAction* action : actions) {
        if (action->text().isEmpty())
            continue;
        if (std::exchange(isFirst, false))
            m_viewMenu->addSeparator();
        m_viewMenu->addAction(action);
        enableWith(tab, action);
    }
}

void MainWindow::enableWith(AppTab tab, QAction* action) {
    action->setEnabled(m_content->selectedTab() == tab);
    connect(m_content, &ContentView::tabSelected, action,
            [action, tab](AppTab selected) { action->setEnabled(selected == tab); });
}

void MainWindow::addApplicationMenu() {
    m_applicationMenu = menuBar()->addMenu(QStringLiteral("&Kopertal"));
    QAction* settings = m_applicationMenu->addAction(QStringLiteral("&Ustawienia…"), this,
                                                     &MainWindow::showSettings);
    settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    settings->setMenuRole(QAction::PreferencesRole);
    m_applicationMenu->addSeparator();
    QAction* quit =
        m_applicationMenu->addAction(QStringLiteral("&Zakończ"), this, &MainWindow::close);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setShortcutContext(Qt::ApplicationShortcut);
    quit->setMenuRole(QAction::QuitRole);
}

void MainWindow::addEditMenu() {
    QMenu* menu = menuBar()->addMenu(QStringLiteral("&Edycja"));
    const auto addEdit = [&](const QString& title, QKeySequence::StandardKey key,
                             const char* slot) {
        QAction* action = menu->addAction(title, this, [slot] { editFocused(slot); });
        action->setShortcuts(key);
    };
    addEdit(QStringLiteral("&Cofnij"), QKeySequence::Undo, "undo");
    addEdit(QStringLiteral("&Ponów"), QKeySequence::Redo, "redo");
    menu->addSeparator();
    addEdit(QStringLiteral("Wy&tnij"), QKeySequence::Cut, "cut");
    addEdit(QStringLiteral("&Kopiuj"), QKeySequence::Copy, "copy");
    addEdit(QStringLiteral("Wk&lej"), QKeySequence::Paste, "paste");
    addEdit(QStringLiteral("&Zaznacz wszystko"), QKeySequence::SelectAll, "selectAll");
    menu->addSeparator();

    // What belongs to the addresses works while they are shown, not behind the other tab.
    const auto addForAddresses = [&](const QString& title, const QList<QKeySequence>& keys,
                                     void (AddressView::*slot)()) {
        QAction* action = menu->addAction(title, m_addresses, slot);
        action->setShortcuts(keys);
        enableWith(AppTab::addresses, action);
    };
    addForAddresses(QStringLiteral("&Otwórz adresy…"), {QKeySequence(Qt::CTRL | Qt::Key_O)},
                    &AddressView::chooseFile);
    addForAddresses(
        QStringLiteral("&Stwórz kopertal"),
        {QKeySequence(Qt::CTRL | Qt::Key_Return), QKeySequence(Qt::CTRL | Qt::Key_Enter)},
        &AddressView::generateDocument);
    addForAddresses(QStringLiteral("&Wyczyść adresy"), {QKeySequence(Qt::CTRL | Qt::Key_Backspace)},
                    &AddressView::clear);
}

void MainWindow::addViewMenu() {
    m_viewMenu = menuBar()->addMenu(QStringLiteral("&Widok"));
    auto* group = new QActionGroup(m_viewMenu);
    connect(m_content, &ContentView::tabSelected, group, [group](AppTab tab) {
        for (QAction* action : group->actions())
            action->setChecked(action->data().toInt() == static_cast<int>(tab));
    });
}

void MainWindow::addTabAction(AppTab tab) {
    auto* group = m_viewMenu->findChild<QActionGroup*>();
    QAction* action =
        m_viewMenu->addAction(title(tab), this, [this, tab] { m_content->selectTab(tab); });
    action->setData(static_cast<int>(tab));
    action->setShortcut(
        QKeySequence(Qt::CTRL | (tab == AppTab::addresses ? Qt::Key_1 : Qt::Key_2)));
    action->setCheckable(true);
    action->setChecked(m_content->selectedTab() == tab);
    group->addAction(action);
}

QMenu* MainWindow::helpMenu() {
    fill();
    if (!m_helpMenu)
        m_helpMenu = menuBar()->addMenu(QStringLiteral("&Pomoc"));
    return m_helpMenu;
}

void MainWindow::showSenderSheet() {
    auto* form = new SenderSetupView(m_settings, false);
    auto* sheet = new morvik::Sheet(form, QStringLiteral("Dane nadawcy"), this);
    sheet->setBranded(true);
    connect(form, &SenderSetupView::closeRequested, sheet, &morvik::Sheet::dismiss);
    sheet->open(form->firstField());
}

/// The form's copies of the values are taken anew for each window.
void MainWindow::showSettings() {
    if (!m_settingsWindow) {
        auto* form = new SenderSetupView(m_settings, true);
        form->setAttribute(Qt::WA_DeleteOnClose);
        form->setWindowTitle(QStringLiteral("Ustawienia — Kopertal"));
        morvik::setAccessibleRole(form, QAccessible::Window);
        new QShortcut(QKeySequence::Close, form, form, &QWidget::close);
        form->resize(600, form->sizeHint().height());
        m_settingsWindow = form;
        form->firstField()->setFocus();
    }
    morvik::raiseWindow(m_settingsWindow);
}

QSize MainWindow::minimumSizeHint() const {
    return QMainWindow::minimumSizeHint().expandedTo(ContentView::leastSize);
}

void MainWindow::raiseToFront() {
    morvik::raiseWindow(this);
}

void MainWindow::paintEvent(QPaintEvent* event) {
    QMainWindow::paintEvent(event);
    if (!m_content)
        QMetaObject::invokeMethod(this, &MainWindow::fill, Qt::QueuedConnection);
}

/// A key for the frame is one for what will have the keyboard: who types at once loses nothing.
void MainWindow::keyPressEvent(QKeyEvent* event) {
    if (m_content) {
        QMainWindow::keyPressEvent(event);
        return;
    }
    fill();
    if (QWidget* focused = focusWidget())
        QApplication::sendEvent(focused, event);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window != this && window->isVisible())
            window->close();
    }
    QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
}

} // namespace kopertal
