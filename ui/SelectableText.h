#pragma once

#include <QTextEdit>

namespace morvik {

/// Text that is read and copied, never changed. It breaks its lines anywhere, for addresses that
/// have no blanks, and is as high as its lines.
class SelectableText : public QTextEdit {
    Q_OBJECT

public:
    /// `name` is what a screen reader says before the text.
    SelectableText(const QString& name, const QFont& font, const QColor& color,
                   QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void fitHeight();
};

} // namespace morvik
