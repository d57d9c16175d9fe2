#pragma once

#include <QPointer>
#include <QWidget>

class QScrollArea;

namespace morvik {

/// A panel that slides over its window and holds it until it is closed: the window's content is
/// dimmed and gets neither mouse nor keyboard nor shortcuts, and the focus stays on the panel. It
/// stays in the window, so that it moves, grows and closes with it; what is larger than the window
/// scrolls.
class Sheet : public QWidget {
    Q_OBJECT

public:
    /// Takes `content` over; `window` is the window that is held, `name` what a screen reader says.
    Sheet(QWidget* content, const QString& name, QWidget* window);

    /// `pixels` for the width of a content, more where texts are larger, as far as the smallest
    /// window has room.
    static int contentWidth(int pixels);

    /// Whether Escape closes it; not unless set.
    void setClosesOnEscape(bool closes) { m_closesOnEscape = closes; }
    /// A lime frame of 2 pixels, for forms.
    void setBranded(bool isBranded) { m_isBranded = isBranded; }

    /// Shows it; `first` gets the keyboard.
    void open(QWidget* first);

public Q_SLOTS:
    /// Hides it, hands the keyboard back and deletes it later.
    void dismiss();

Q_SIGNALS:
    void dismissed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void placePanel();
    bool isTop() const;
    bool isBehind(const QObject* shortcutOwner) const;
    void keepFocus(QWidget* now);

    QWidget* m_content;
    QScrollArea* m_panel;
    QPointer<QWidget> m_before;
    bool m_closesOnEscape = false;
    bool m_isBranded = false;
};

} // namespace morvik
