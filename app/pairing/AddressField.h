#pragma once

#include <QTimer>
#include <QWidget>

namespace morvik {
class IconButton;
class SelectableText;
} // namespace morvik

namespace kopertal {

/// An address to be typed or copied, whole however long it is, on a white field with a button that
/// copies it.
class AddressField : public QWidget {
    Q_OBJECT

public:
    /// `name` is what a screen reader says before the address.
    explicit AddressField(const QString& name, QWidget* parent = nullptr);

    /// There is nothing to copy until it is set.
    void setAddress(const QString& address);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void copy();

    morvik::SelectableText* m_text;
    morvik::IconButton* m_copy;
    QTimer m_confirmation;
};

} // namespace kopertal
