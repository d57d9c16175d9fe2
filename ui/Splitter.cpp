#include "ui/Splitter.h"

#include "ui/Tones.h"

#include <QPainter>

namespace morvik {
namespace {

class GrabHandle : public QSplitterHandle {
public:
    using QSplitterHandle::QSplitterHandle;

protected:
    void resizeEvent(QResizeEvent* event) override {
        // Margins around the line are the toolkit's own way to a grab area wider than the handle.
        setContentsMargins(4, 0, 3, 0);
        setAttribute(Qt::WA_MouseNoMask, true);
        setMask(QRegion(contentsRect()));
        QWidget::resizeEvent(event);
    }

    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(contentsRect(), Tones::border);
    }
};

} // namespace

Splitter::Splitter(QWidget* parent) : QSplitter(Qt::Horizontal, parent) {
    setHandleWidth(1);
    setChildrenCollapsible(false);
}

QSplitterHandle* Splitter::createHandle() {
    return new GrabHandle(Qt::Horizontal, this);
}

} // namespace morvik
