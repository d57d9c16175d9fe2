#pragma once

#include <QColor>
#include <QWidget>

namespace morvik {

/// Where and how a control shows that it has the keyboard.
struct RingShape {
    QColor color;
    double radius;  ///< Of the control's own corners.
    int gap;        ///< Between the control's edge and the ring.
    bool always;    ///< Also after a mouse click (fields), not for the keyboard only (buttons).
    QMargins inset; ///< From the widget's rectangle to the control that it draws.
};

/// A 2 pixel ring outside `control` while it has the keyboard. The control needs gap + 2 pixels of
/// free room around it. The ring goes with the control.
void addFocusRing(QWidget* control, const RingShape& shape);

/// Whether the ring of a control that has one is shown; a control that got the keyboard by the
/// mouse may have the keyboard without it.
bool isFocusRingShown(const QWidget* control);

/// Shapes of the kit's controls.
RingShape limeRing(double radius);          ///< Outlined buttons and fields.
RingShape navyRing(double radius, int gap); ///< Lime buttons, icon buttons, tabs.

} // namespace morvik
