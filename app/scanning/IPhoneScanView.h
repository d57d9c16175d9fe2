#pragma once

#include "scan/ScannedEntry.h"

#include <QList>
#include <QWidget>

#include <chrono>

class QLabel;
class QVBoxLayout;

namespace morvik {
class LimeBorderedButton;
class Spinner;
} // namespace morvik

namespace kopertal {

class PhotoRecognizer;
class QrCodeView;
class ScanSession;
struct PhotoResult;

/// The content of the sheet that takes photos from a phone. In QR mode it runs a server of its own
/// and shows its address until a photo with codes arrives; in paired mode it only tells that the
/// phone can be used.
///
/// Photos that are still on their way when another one closed the sheet are not lost: when
/// closeRequested() has hidden it, the view leaves its parent, gives their numbers by scanned()
/// too, and then deletes itself. When the sheet is closed by "Anuluj" or dismissed, it dies with
/// the sheet, and its photos with it.
class IPhoneScanView : public QWidget {
    Q_OBJECT

public:
    /// `recognizer` may go at any time; without it no more photos are recognised.
    IPhoneScanView(PhotoRecognizer& recognizer, bool usePairedMode, QWidget* parent = nullptr);

    /// In paired mode, says under the status why the phone cannot be used; nothing for an empty
    /// text.
    void showServerFailure(const QString& failure);

    /// What gets the keyboard first.
    QWidget* defaultButton() const;

    /// After how long without a phone the usual reasons are named; 30 s unless set, before the
    /// event loop runs.
    void setHintDelay(std::chrono::milliseconds delay);

Q_SIGNALS:
    /// The numbers of one photo, in ascending order; none when all its codes cleaned to nothing.
    /// May come more than once, and after closeRequested().
    void scanned(const QList<ScannedEntry>& entries);
    void closeRequested();

private:
    void addQrPart(QVBoxLayout* column);
    void addPairedPart(QVBoxLayout* column);
    void startServer(PhotoRecognizer& recognizer);
    void showAddress(const QString& address);
    void showFailure(const QString& description);
    void handleResult(const PhotoResult& result);
    void setStatus(const QString& text);
    void leave();
    void cancel();

    QLabel* m_status;
    QLabel* m_hint; ///< What may keep the phone from connecting.
    morvik::LimeBorderedButton* m_close;
    // Only in QR mode:
    ScanSession* m_session = nullptr;
    QrCodeView* m_qrCode = nullptr;
    morvik::Spinner* m_spinner = nullptr;
    QLabel* m_url = nullptr;
    bool m_isClosing = false;
};

} // namespace kopertal
