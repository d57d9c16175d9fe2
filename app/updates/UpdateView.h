#pragma once

#include <QDialog>

namespace kopertal {

struct Release;

/// The dialog that offers a newer version. Whatever is chosen, it closes; closing it alone means
/// later.
class UpdateView : public QDialog {
    Q_OBJECT

public:
    UpdateView(const Release& release, const QString& ownVersion, QWidget* parent);

Q_SIGNALS:
    void pageRequested();
    void skipRequested();
};

} // namespace kopertal
