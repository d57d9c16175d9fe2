#pragma once

#include "scan/ReceivedPhoto.h"
#include "scan/ScannedEntry.h"
#include "tracking/TrackingAccess.h"
#include "tracking/TrackingResult.h"

#include <QQueue>
#include <QTimer>
#include <QUuid>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class QStackedWidget;

namespace morvik {
class Splitter;
}

namespace kopertal {

class AppSettings;
class HttpCarrier;
class PairedServer;
class PhotoRecognizer;
class ShipmentDetails;
class StatusClient;
class TrackingBar;
class TrackingTable;
class TrackingTableModel;

/// What the tracking tab works with.
struct TrackingParts {
    TrackingAccess access;
    std::function<std::unique_ptr<HttpCarrier>()> makeCarrier; ///< Called at the first refresh.
    QString recognizerProgram;                                 ///< See RecognizerOptions.
    QString pairingPage;                                       ///< See pairingURL().
};

/// The tracking tab: numbers are typed, pasted or photographed by the phone, the service is asked
/// about all of them at once, and the table and the details pane show what it says. While the phone
/// is paired the tab runs its server.
class TrackingView : public QWidget {
    Q_OBJECT

public:
    /// Loads the register's rows, and starts the paired server if the phone is paired. `settings`
    /// outlives the view.
    TrackingView(AppSettings& settings, TrackingParts parts, QWidget* parent = nullptr);
    ~TrackingView() override;

    TrackingTableModel& model() { return *m_model; }
    TrackingTable& table() { return *m_table; }
    bool isRefreshing() const { return m_isRefreshing; }
    PairedServer& pairedServer() { return *m_pairedServer; }

    /// Adds the numbers that are not empty and not in the table yet to today's book, in their
    /// order. If there are any, all rows are built anew, without what was learnt of them.
    void addTrackingEntries(const QList<ScannedEntry>& entries);
    void addTrackingEntry(const QString& nr, const QString& name = {});

public Q_SLOTS:
    /// Builds the rows anew from the register.
    void loadRows();
    /// Adds what stands in the number field, a number a line, and empties it.
    void addManualRow();
    void clearTrackingData();
    /// Asks about all rows at once; each answer goes to its row as it comes.
    void refreshStatuses();
    /// Opens the sheet that suits the phone mode.
    void handleScanTap();
    /// Asks again how the phone finds this computer, and goes on with the answer.
    void showPairingChoice();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    /// An answer on its way into its row.
    struct Answer {
        QUuid rowID;
        TrackingResult result;
        std::shared_ptr<qsizetype> left; ///< How many answers its refresh still waits for.
    };

    QWidget* makeEmptyState();
    morvik::Splitter* makeTablePane();
    void startPairedServerIfNeeded();
    void handlePairedPhoto(const ReceivedPhoto& photo);
    void mergeAnswers();
    void importScanned(const QList<ScannedEntry>& entries);
    void showPairingSetup();
    void showIPhoneScan();
    void selectRow(const std::optional<QUuid>& id);
    void showPhoneMode();
    void showRows();
    void showDetails();
    void fitDetails();

    AppSettings& m_settings;
    TrackingParts m_parts;
    QString m_iphoneMode;
    TrackingTableModel* m_model;
    PhotoRecognizer* m_recognizer;
    PairedServer* m_pairedServer;
    std::unique_ptr<StatusClient> m_client;
    std::optional<QUuid> m_selectedRowID;
    bool m_isRefreshing = false;
    QQueue<Answer> m_answers;
    QTimer m_merging; // runs while there are answers

    TrackingBar* m_bar;
    QStackedWidget* m_pages;
    QWidget* m_emptyState;
    morvik::Splitter* m_tablePane;
    TrackingTable* m_table;
    QWidget* m_detailsPane;
    int m_detailsWidth; // what fitDetails() gave; another one is the user's
    ShipmentDetails* m_details;
};

} // namespace kopertal
