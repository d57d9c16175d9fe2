#pragma once

#include "ui/Spinner.h"

#include <QElapsedTimer>
#include <QPushButton>

class QPainter;

namespace morvik {

/// What the kit's buttons share: they paint themselves from a title and a picture, Return presses
/// them where they have the focus, and they can show that work is under way. A quick second press
/// that finds a button just shown in another's place was meant for that one, and does nothing.
class KitButton : public QPushButton {
    Q_OBJECT

public:
    KitButton(const QString& title, const QString& iconName, QWidget* parent);

    const QString& iconName() const { return m_iconName; }
    void setIconName(const QString& name);

protected:
    /// Of a button around one line: `contentWidth` wide and at least textPixels(lineHeight) high,
    /// with its paddings.
    QSize paddedSize(int contentWidth, int lineHeight, int sidePadding, int verticalPadding) const;

    bool isPointed() const { return isEnabled() && underMouse(); }

    /// The spinner's time runs only while it is shown.
    void setSpinning(bool isSpinning);
    bool isSpinning() const { return m_isSpinning; }
    void paintSpinner(QPainter& painter, const QRectF& square, const QColor& color) const;

    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void updateTimer();
    bool isJustShown() const;

    QString m_iconName;
    SpinnerClock m_spinner;
    QElapsedTimer m_shown;
    bool m_isSpinning = false;
};

} // namespace morvik
