#pragma once

#include <QFrame>

#include <functional>

namespace morvik {

/// A result told in the page itself, until the user dismisses it.
class ResultBanner : public QFrame {
    Q_OBJECT

public:
    enum class Style { success, error };

    ResultBanner(const QString& message, Style style, std::function<void()> onDismiss,
                 QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Style m_style;
};

} // namespace morvik
