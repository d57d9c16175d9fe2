#pragma once

#include <QImage>
#include <QWidget>

namespace kopertal {

/// A QR code on a white square with a thin border. It is drawn for the screen that it is on: every
/// module a square of whole pixels, never smoothed, with at least four modules of white around.
class QrCodeView : public QWidget {
    Q_OBJECT

public:
    /// `side` logical pixels of code with `padding` white ones around them.
    QrCodeView(int side, int padding, QWidget* parent = nullptr);

    /// False when there is no code for the text; then nothing is drawn on the white.
    bool setText(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int codePixels() const;

    QString m_text;
    QImage m_code;
};

} // namespace kopertal
