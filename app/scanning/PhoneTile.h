#pragma once

#include <QWidget>

namespace kopertal {

/// The phone with its waves in the brand's colour, on a dark tile.
class PhoneTile : public QWidget {
    Q_OBJECT

public:
    PhoneTile(int iconSize, int padding, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_padding;
};

} // namespace kopertal
