#pragma once

#include "ui/KitButton.h"

#include <QColor>

namespace morvik {

/// A text that opens an address: underlined while it is pointed at, and pressed by the keyboard
/// too.
class LinkButton : public KitButton {
    Q_OBJECT

public:
    LinkButton(const QString& text, const QString& address, const QFont& font, const QColor& color,
               QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color;
};

} // namespace morvik
