#pragma once

#include <QBrush>
#include <QFrame>
#include <QPen>
#include <QRectF>

class QPainter;

namespace morvik {

/// A rectangle with round corners; the border lies inside `outer`, whose corners have `radius`.
/// Leaves the painter as it was.
void paintFrame(QPainter& painter, const QRectF& outer, double radius, const QPen& border,
                const QBrush& ground);

/// A white rounded frame, as tables and lists have.
class BorderFrame : public QFrame {
    Q_OBJECT

public:
    explicit BorderFrame(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace morvik
