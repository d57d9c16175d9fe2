#pragma once

#include <QStackedWidget>
#include <QVariantAnimation>

namespace kopertal {

/// Pages of which one is shown; the others keep their state. A change fades for 0.15 s, in which
/// the new page is in use already; not where no motion is wanted.
class FadingStack : public QStackedWidget {
    Q_OBJECT

public:
    explicit FadingStack(QWidget* parent = nullptr);

    void fadeTo(int index);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* m_veil; // shows the page before, ever fainter
    QVariantAnimation m_fade;
};

} // namespace kopertal
