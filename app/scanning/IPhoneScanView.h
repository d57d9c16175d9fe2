#pragma once

#include "scan/ScannedEntry.h"

#include <QList>
#include <QWidget>

class QLabel;

namespace morvik {
class LimeBorderedButton;
}

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
    ~IPhoneScanView() override;

    /// What gets the keyboard first.
    QWidget* defaultButton() const;

Q_SIGNALS:
    /// The numbers of one photo, in ascending order; none when all its codes cleaned to nothing.
    /// May come more than once, and after closeRequested().
    void scanned(const QList<ScannedEntry>& entries);
    void closeRequested();
};

} // namespace kopertal
