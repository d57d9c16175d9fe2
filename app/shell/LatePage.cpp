#include "app/shell/LatePage.h"

#include <QTimer>
#include <QVBoxLayout>

#include <chrono>
#include <utility>

namespace kopertal {
namespace {

constexpr std::chrono::milliseconds firstPictureTime{100}; // ample, from the page's construction

} // namespace

LatePage::LatePage(std::function<QWidget*()> makeContents, QWidget* parent)
    : QWidget(parent), m_makeContents(std::move(makeContents)) {
    QTimer::singleShot(firstPictureTime, this, &LatePage::fill);
}

void LatePage::showEvent(QShowEvent* event) {
    fill();
    QWidget::showEvent(event);
}

void LatePage::fill() {
    const auto make = std::exchange(m_makeContents, nullptr);
    if (!make)
        return;
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    QWidget* contents = make();
    layout->addWidget(contents);
    setFocusProxy(contents->focusProxy());
}

} // namespace kopertal
