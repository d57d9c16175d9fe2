#pragma once

#include <QComboBox>
#include <QSpinBox>

namespace kopertal {

/// A choice that looks like the kit's fields.
class ChoiceField : public QComboBox {
    Q_OBJECT

public:
    explicit ChoiceField(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A number that looks like the kit's fields; arrow keys and the wheel change it.
class NumberField : public QSpinBox {
    Q_OBJECT

public:
    explicit NumberField(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
};

} // namespace kopertal
