#pragma once

#include "app/scanning/ServerStart.h"
#include "net/HttpClient.h"

#include <QDeadlineTimer>
#include <QWidget>

#include <memory>

class QLabel;
class QVBoxLayout;

namespace morvik {
class LimeBorderedButton;
class SelectableText;
} // namespace morvik

namespace kopertal {

class AddressField;
class QrCodeView;

/// The content of the sheet that sets a phone up: the address to open on it, and a server that
/// answers there while the sheet is shown, where none does yet. Another program that holds the
/// paired port is taken for the phone's server. When the sheet is hidden, however the
/// sheet was closed, that server has let the paired port go.
class PairingSetupView : public QWidget {
    Q_OBJECT

public:
    /// `pairingPage` is what pairingURL() takes.
    explicit PairingSetupView(const QString& pairingPage, QWidget* parent = nullptr);
    ~PairingSetupView() override;

    /// What gets the keyboard first.
    QWidget* defaultButton() const;

Q_SIGNALS:
    /// "Gotowe" was pressed and the view's own server has ended. Comes before closeRequested(), and
    /// not at all when the sheet is dismissed otherwise.
    void done();
    void closeRequested();

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void addSteps(QVBoxLayout* column);
    void addQrPart(QVBoxLayout* column);
    void showAddresses(const QString& pairingPage, const QString& hostname);
    void startTestServer();
    void startOwnServer();
    void setStatus(const QString& text, bool isServerReady);
    void stopServer();
    void finish();

    HttpClient m_client;
    QDeadlineTimer m_probing; ///< Until then a server may still be starting.
    QFuture<StartedServer> m_start;
    std::shared_ptr<ScanServer> m_server;
    AddressField* m_address;
    morvik::SelectableText* m_directAddress;
    QWidget* m_qrPart;
    QrCodeView* m_qrCode;
    QLabel* m_status;
    morvik::LimeBorderedButton* m_done;
};

} // namespace kopertal
