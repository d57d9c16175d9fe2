#pragma once

#include <QColor>
#include <QTimer>
#include <QWidget>

class QPainter;

namespace morvik {

/// The steps of a spinner in time: ticks while it runs and motion is wanted.
class SpinnerClock : public QTimer {
    Q_OBJECT

public:
    explicit SpinnerClock(QObject* parent);

    void setRunning(bool isRunning);
    void paint(QPainter& painter, const QRectF& square, const QColor& color) const;

private:
    int m_step = 0;
};

/// Shows that work is under way. Its time runs only while it is shown.
class Spinner : public QWidget {
    Q_OBJECT

public:
    Spinner(int size, const QColor& color, QWidget* parent = nullptr);

    /// A spinner that stands still tells that the work has come to nothing.
    void stop();

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    SpinnerClock m_clock;
    QColor m_color;
    bool m_isStopped = false;
};

} // namespace morvik
