#pragma once

#include <QWidget>

#include <functional>

namespace kopertal {

/// A page behind another one, whose contents are made when the window stands on the screen, or when
/// the page is shown before that: the first window need not wait for them.
class LatePage : public QWidget {
    Q_OBJECT

public:
    explicit LatePage(std::function<QWidget*()> makeContents, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void fill();

    std::function<QWidget*()> m_makeContents; // until they are made
};

} // namespace kopertal
