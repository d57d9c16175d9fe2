#pragma once

#include <QScrollArea>

namespace kopertal {

/// The user's guide: one page of fixed texts that scrolls, 600 by 700 unless it is given other
/// room. Its version and its icon are the application's.
class HelpView : public QScrollArea {
    Q_OBJECT

public:
    /// `supportEmail` is the address that the page ends with.
    explicit HelpView(const QString& supportEmail, QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace kopertal
