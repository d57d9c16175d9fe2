#pragma once

#include "ui/KitButton.h"

namespace morvik {

/// The publisher's mark; pressing it opens the web site that the kit is built with.
class MorvikFooter : public KitButton {
    Q_OBJECT

public:
    explicit MorvikFooter(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace morvik
