#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

namespace kopertal {

struct Release;
class Updater;

/// Tells the user what an updater finds. The dialogs are made when there is something to tell, one
/// at a time, and hold nothing up.
class UpdateAlerts : public QObject {
    Q_OBJECT

public:
    /// It goes with `window`, the one that the dialogs stand over; `updater` outlives it.
    UpdateAlerts(Updater& updater, QWidget* window);

private:
    void showUpdate(const Release& release, bool isAskedFor);
    void tell(const QString& title, const QString& message, const QString& icon);
    void replaceDialog(QWidget* dialog, bool isAskedFor);

    Updater& m_updater;
    QWidget* m_window;
    QPointer<QWidget> m_dialog;
};

} // namespace kopertal
