#include "ui/SelectableText.h"

#include <QTextDocument>
#include <QWheelEvent>

#include <cmath>

namespace morvik {

SelectableText::SelectableText(const QString& name, const QFont& font, const QColor& color,
                               QWidget* parent)
    : QTextEdit(parent) {
    setAccessibleName(name);
    setReadOnly(true);
    setAcceptRichText(false);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setFocusPolicy(Qt::StrongFocus);
    setTabChangesFocus(true);
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setFont(font);
    document()->setDocumentMargin(0);
    QPalette ink = palette();
    ink.setColor(QPalette::Base, Qt::transparent);
    ink.setColor(QPalette::Text, color);
    setPalette(ink);
    connect(this, &QTextEdit::textChanged, this, &SelectableText::fitHeight);
    fitHeight();
}

void SelectableText::fitHeight() {
    setFixedHeight(static_cast<int>(std::ceil(document()->size().height())));
}

void SelectableText::resizeEvent(QResizeEvent* event) {
    QTextEdit::resizeEvent(event);
    fitHeight();
}

void SelectableText::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

} // namespace morvik
