#pragma once

#include <QColor>
#include <QWidget>

namespace morvik {

/// A picture that is only looked at.
class IconLabel : public QWidget {
    Q_OBJECT

public:
    IconLabel(const QString& icon, int size, const QColor& color, QWidget* parent = nullptr);

    void setColor(const QColor& color);
    QSize sizeHint() const override { return {m_size, m_size}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_icon;
    int m_size;
    QColor m_color;
};

} // namespace morvik
