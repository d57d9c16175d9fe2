#pragma once

#include "net/HttpClient.h"

#include <QElapsedTimer>
#include <QWidget>

#include <memory>

class QLabel;

namespace morvik {
class LimeBorderedButton;
}

namespace kopertal {

class AddressField;
class QrCodeView;
class ScanServer;
struct PairingAddresses;

/// The content of the sheet that sets a phone up: the address to open on it, and a server that
/// answers there while the sheet is shown, where none does yet.
class PairingSetupView : public QWidget {
    Q_OBJECT

public:
    /// `pairingPage` is what pairingURL() takes.
    explicit PairingSetupView(const QString& pairingPage, QWidget* parent = nullptr);
    /// However the sheet was closed, its server is gone and the paired port free.
    ~PairingSetupView() override;

    /// What gets the keyboard first.
    QWidget* defaultButton() const;

Q_SIGNALS:
    /// "Gotowe" was pressed. The paired port is free again if this view held it. Comes before
    /// closeRequested(), and not at all when the sheet is dismissed otherwise.
    void done();
    void closeRequested();

private:
    QWidget* makeSteps();
    void showAddresses(const PairingAddresses& addresses);
    void startTestServer();
    void startOwnServer();
    void setStatus(const QString& text, bool isReady);
    void finish();

    HttpClient m_probe;
    QElapsedTimer m_probing;
    std::shared_ptr<ScanServer> m_server;
    AddressField* m_address;
    QLabel* m_directAddress;
    QWidget* m_qrPart;
    QrCodeView* m_qrCode;
    QLabel* m_status;
    morvik::LimeBorderedButton* m_done;
};

} // namespace kopertal
