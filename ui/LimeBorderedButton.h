#pragma once

#include "ui/KitButton.h"

class QStyleOption;

namespace morvik {

/// How secondary buttons look; every plain push button of the program does.
struct LimeBorderedButtonStyle {
    static void paintFrame(QPainter& painter, const QStyleOption& button);
    static QColor labelColor(const QStyleOption& button);
};

/// A secondary button, with a picture before its title where one is named.
class LimeBorderedButton : public KitButton {
    Q_OBJECT

public:
    explicit LimeBorderedButton(const QString& title, const QString& icon = {},
                                QWidget* parent = nullptr);

    /// While busy, a spinner takes the picture's place.
    void setBusy(bool isBusy) { setSpinning(isBusy); }

    /// Between picture and title; 6 unless set.
    void setIconGap(int pixels);
    /// Left and right of the content; 20 unless set.
    void setSidePadding(int pixels);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int contentWidth() const;
    bool hasPicture() const { return isSpinning() || !iconName().isEmpty(); }

    int m_iconGap = 6;
    int m_sidePadding = 20;
};

} // namespace morvik
