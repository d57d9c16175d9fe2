#pragma once

#include "ui/Spinner.h"

#include <QPushButton>

class QPainter;

namespace morvik {

/// What the kit's buttons share: they paint themselves from a title and a picture, Return presses
/// them where they have the focus, and they can show that work is under way.
class KitButton : public QPushButton {
    Q_OBJECT

public:
    KitButton(const QString& title, const QString& iconName, QWidget* parent);

    const QString& iconName() const { return m_iconName; }
    void setIconName(const QString& name);

protected:
    bool isPointed() const { return isEnabled() && underMouse(); }

    /// The spinner's time runs only while it is shown.
    void setSpinning(bool isSpinning);
    bool isSpinning() const { return m_isSpinning; }
    void paintSpinner(QPainter& painter, const QRectF& square, const QColor& color) const;

    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void updateTimer();

    QString m_iconName;
    SpinnerClock m_spinner;
    bool m_isSpinning = false;
};

} // namespace morvik
