#pragma once

#include "app/settings/AppSettings.h"
#include "ui/KitButton.h"
#include "ui/Sheet.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>

namespace kopertal::testing {

/// Settings of the test's own in `folder`, with a sender, for documents in that folder.
inline std::unique_ptr<AppSettings> readySettings(const QTemporaryDir& folder) {
    auto settings =
        std::make_unique<AppSettings>(PreferencesStore(folder.filePath("settings.json")));
    settings->setSenderName("Nadawca");
    settings->setSenderAddress("ul. Nowa 1");
    settings->setSaveFolder(folder.path());
    return settings;
}

/// Shows the window and waits until it has the keyboard.
inline void activate(QWidget& window) {
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window, 20000));
}

inline bool showsLabel(const QWidget* view, const std::function<bool(const QString&)>& isWanted) {
    const auto labels = view->findChildren<QLabel*>();
    return std::ranges::any_of(labels, [&](const QLabel* label) {
        return label->isVisibleTo(view) && isWanted(label->text());
    });
}

inline bool shows(const QWidget* view, const QString& text) {
    return showsLabel(view, [&](const QString& shown) { return shown == text; });
}

/// The last one that is shown with that title or name; null if none is.
inline morvik::KitButton* shownButton(const QWidget* view, const QString& title) {
    morvik::KitButton* found = nullptr;
    for (auto* each : view->findChildren<morvik::KitButton*>()) {
        if (each->isVisible() && (each->text() == title || each->accessibleName() == title))
            found = each;
    }
    return found;
}

inline QList<morvik::Sheet*> shownSheets(const QWidget* window) {
    QList<morvik::Sheet*> shown = window->findChildren<morvik::Sheet*>();
    shown.removeIf([](const morvik::Sheet* sheet) { return !sheet->isVisible(); });
    return shown;
}

/// Null if none is shown.
inline morvik::Sheet* frontSheet(const QWidget* window) {
    const QList<morvik::Sheet*> shown = shownSheets(window);
    return shown.isEmpty() ? nullptr : shown.last();
}

inline QMessageBox* openAlert() {
    return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
}

} // namespace kopertal::testing
