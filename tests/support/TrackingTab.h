#pragma once

#include "app/http/LoadedHttpCarrier.h"
#include "app/shell/MainWindow.h"
#include "app/tracking/TrackingView.h"
#include "tests/support/RealKeys.h"
#include "tests/support/ShownParts.h"
#include "tests/support/TrackingStandIn.h"
#include "tracking/TrackingTableModel.h"

#include <QLineEdit>

namespace kopertal::testing {

/// The tracking tab in the program's window, with settings of its own, against the stand-in of the
/// service.
class TrackingTab {
protected:
    void prepareSettings() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_settings = readySettings(*m_folder);
    }

    /// With the keyboard in the number field.
    void openTab() {
        m_window = std::make_unique<MainWindow>(*m_settings);
        TrackingParts parts;
        parts.access.endpoint = m_standIn.address("http", "service");
        parts.makeCarrier = [] { return loadHttpCarrier({}); };
        parts.recognizerProgram = KOPERTAL_PROGRAM;
        parts.pairingPage = "https://kopertal.example/zq/";
        m_view = new TrackingView(*m_settings, parts);
        m_window->addTrackingTab(m_view);
        activate(*m_window);
        pressKeys({"ctrl+2"});
        QTRY_COMPARE(QApplication::focusWidget(), m_view->findChild<QLineEdit*>());
        QTest::qWait(300); // until the pages have changed
    }

    morvik::KitButton* button(const char* title) const {
        return shownButton(m_window.get(), QString::fromUtf8(title));
    }

    /// Sorted.
    QStringList storedNumbers() const {
        QStringList numbers;
        for (const TrackingRow& row : trackingRows(m_settings->loadSentBooks()))
            numbers << row.trackingNumber;
        numbers.sort();
        return numbers;
    }

    TrackingStandIn m_standIn;
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<AppSettings> m_settings;
    std::unique_ptr<MainWindow> m_window;
    TrackingView* m_view = nullptr;
};

} // namespace kopertal::testing
