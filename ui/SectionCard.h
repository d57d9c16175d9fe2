#pragma once

#include <QFrame>
#include <QString>

class QVBoxLayout;

namespace morvik {

/// A white panel in a lime frame, with a title when one is given, as wide as there is room.
class SectionCard : public QFrame {
    Q_OBJECT

public:
    /// Takes `content` over.
    SectionCard(const QString& title, QWidget* content, QWidget* parent = nullptr);

    /// The distance of the content from the frame; 16 unless set. At least 3: the frame is round.
    void setPadding(int pixels);

    /// A navy line inside the frame while `inner`, the content's editor, has the keyboard.
    void followFocusOf(QWidget* inner);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QVBoxLayout* m_layout;
    bool m_showsFocus = false;
};

} // namespace morvik
