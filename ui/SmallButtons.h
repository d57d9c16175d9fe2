#pragma once

#include "ui/KitButton.h"

#include <QColor>

namespace morvik {

/// A small lime button, for actions inside of rows.
class LimeSmallButton : public KitButton {
    Q_OBJECT

public:
    explicit LimeSmallButton(const QString& title, QWidget* parent = nullptr);

    /// Other than 11 pixels of text in 10 by 3 of padding.
    void setMeasures(int textSize, int sidePadding, int verticalPadding);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_sidePadding = 10;
    int m_verticalPadding = 3;
};

/// A picture alone that is pressed. Its `name` is its tooltip and what a screen reader says.
class IconButton : public KitButton {
    Q_OBJECT

public:
    IconButton(const QString& icon, const QString& name, const QColor& color,
               QWidget* parent = nullptr);

    /// The square that is pressed (28 unless set) and the picture in it (16 unless set).
    void setMeasures(int side, int iconSize);

    QSize sizeHint() const override { return {m_side, m_side}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color;
    int m_side = 28;
    int m_iconSize = 16;
};

/// A title alone that is pressed, for the lesser of two answers.
class TextButton : public KitButton {
    Q_OBJECT

public:
    explicit TextButton(const QString& title, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A tab's button: bold over a lime bar while it is checked.
class TabButton : public KitButton {
    Q_OBJECT

public:
    explicit TabButton(const QString& title, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace morvik
