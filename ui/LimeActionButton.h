#pragma once

#include "ui/KitButton.h"

namespace morvik {

/// The primary action button: a lime bar as wide as there is room. It is disabled exactly when it
/// is told so; `isProcessing` only changes what it shows.
class LimeActionButton : public KitButton {
    Q_OBJECT

public:
    LimeActionButton(const QString& title, const QString& icon, QWidget* parent = nullptr);

    bool isProcessing() const { return isSpinning(); }
    void setProcessing(bool isProcessing);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QString& shownTitle() const;

    QString m_title;
};

} // namespace morvik
