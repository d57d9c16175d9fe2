#include "ui/Sheet.h"

#include "ui/AccessibleRole.h"
#include "ui/Fonts.h"
#include "ui/MorvikTheme.h"
#include "ui/Tones.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMainWindow>
#include <QMenuBar>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>

#include <algorithm>

namespace morvik {
namespace {

constexpr double radius = 12;
constexpr double dimming = 0.34;
constexpr int scrollingMargin = 12; // above and below a panel that fills the window
constexpr int widestContent = 720;  // in the smallest window, beside a scroll bar
constexpr int shadowReach = 28;
constexpr int shadowDrop = 10;

/// Soft: many faint frames, each larger than the one before.
void paintShadow(QPainter& painter, const QRectF& panel) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(Tones::faded(Qt::black, 0.008));
    for (int reach = shadowReach; reach > 0; --reach)
        painter.drawRoundedRect(
            panel.adjusted(-reach, shadowDrop - reach, reach, shadowDrop + reach), radius + reach,
            radius + reach);
}

} // namespace

Sheet::Sheet(QWidget* content, const QString& name, QWidget* window)
    : QWidget(window), m_content(content), m_panel(new QScrollArea(this)) {
    setAccessibleRole(this, QAccessible::Dialog);
    setAccessibleName(name);
    setFocusPolicy(Qt::NoFocus);
    m_panel->setFrameShape(QFrame::NoFrame);
    m_panel->setFocusPolicy(Qt::NoFocus);
    m_panel->setWidgetResizable(true);
    m_panel->setWidget(content);
    for (QWidget* ground : {m_panel->viewport(), content})
        ground->setAutoFillBackground(false); // the sheet paints it, with its round corners
    hide();
}

int Sheet::contentWidth(int pixels) {
    return std::min(textPixels(pixels), std::max(pixels, widestContent));
}

void Sheet::open(QWidget* first) {
    m_before = window()->focusWidget();
    window()->installEventFilter(this);
    m_content->installEventFilter(this);
    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget*, QWidget* now) { keepFocus(now); });
    if (const auto* main = qobject_cast<QMainWindow*>(window()))
        main->menuWidget()->setEnabled(false);
    setGeometry(window()->rect());
    placePanel();
    raise();
    show();
    first->setFocus(Qt::TabFocusReason);
}

void Sheet::dismiss() {
    if (isHidden())
        return;
    disconnect(qApp, nullptr, this, nullptr);
    qApp->removeEventFilter(this);
    hide();
    const QList<Sheet*> others = window()->findChildren<Sheet*>(Qt::FindDirectChildrenOnly);
    const bool isLast = std::none_of(others.begin(), others.end(),
                                     [](const Sheet* other) { return other->isVisible(); });
    if (const auto* main = qobject_cast<QMainWindow*>(window()); main && isLast)
        main->menuWidget()->setEnabled(true);
    if (m_before)
        m_before->setFocus(Qt::OtherFocusReason);
    Q_EMIT dismissed();
    deleteLater();
}

/// In the middle, its top a tenth to a third of the way down; all of it is seen where there is
/// room.
void Sheet::placePanel() {
    QSize wanted = m_content->sizeHint().expandedTo(m_content->minimumSize());
    if (m_content->hasHeightForWidth()) // a hint alone takes wrapped texts for narrower ones
        wanted.setHeight(
            std::max(m_content->heightForWidth(wanted.width()), m_content->minimumHeight()));
    wanted = wanted.expandedTo(m_content->minimumSizeHint()); // less would be scrolled
    wanted = wanted.boundedTo(m_content->maximumSize());
    if (wanted.height() > height()) {
        wanted.rwidth() += m_panel->verticalScrollBar()->sizeHint().width();
        wanted.setHeight(height() - 2 * scrollingMargin);
    }
    const QSize size = wanted.boundedTo(this->size());
    const int free = height() - size.height();
    const int top = std::clamp(free * 2 / 5, std::min(height() / 10, std::max(0, free)),
                               std::max(height() / 3, 0));
    m_panel->setGeometry(QRect(QPoint((width() - size.width()) / 2, std::min(top, free)), size));
    update();
}

bool Sheet::isTop() const {
    const QList<Sheet*> sheets = window()->findChildren<Sheet*>(Qt::FindDirectChildrenOnly);
    for (auto sheet = sheets.rbegin(); sheet != sheets.rend(); ++sheet) {
        if ((*sheet)->isVisible())
            return *sheet == this;
    }
    return false;
}

void Sheet::keepFocus(QWidget* now) {
    if (!now || now->window() != window() || isAncestorOf(now) || !isTop())
        return;
    focusNextPrevChild(true);
}

bool Sheet::focusNextPrevChild(bool next) {
    QWidget* now = isAncestorOf(window()->focusWidget()) ? window()->focusWidget() : m_content;
    for (QWidget* candidate = now;;) {
        candidate = next ? candidate->nextInFocusChain() : candidate->previousInFocusChain();
        if (candidate == now)
            return false;
        if (m_content->isAncestorOf(candidate) && candidate->isEnabled() &&
            candidate->isVisible() && (candidate->focusPolicy() & Qt::TabFocus) &&
            !candidate->focusProxy()) { // a part, as the field in a spin box

            candidate->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return true;
        }
    }
}

void Sheet::keyPressEvent(QKeyEvent* event) {
    if (m_closesOnEscape && event->key() == Qt::Key_Escape)
        dismiss();
    event->accept(); // nothing of the window behind may get it
}

/// Whether `shortcutOwner`, a widget or an action, belongs to the window but not to a sheet.
bool Sheet::isBehind(const QObject* shortcutOwner) const {
    bool isInWindow = false;
    for (const QObject* object = shortcutOwner; object; object = object->parent()) {
        if (qobject_cast<const Sheet*>(object))
            return object != this && !isTop();
        isInWindow |= object == window();
    }
    return isInWindow;
}

bool Sheet::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::Resize:
        if (watched == window()) {
            setGeometry(window()->rect());
            placePanel();
        }
        break;
    case QEvent::LayoutRequest:
        if (watched == m_content)
            QMetaObject::invokeMethod(this, &Sheet::placePanel, Qt::QueuedConnection);
        break;
    case QEvent::Shortcut:
        return isBehind(watched);
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

void Sheet::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF panel(m_panel->geometry());
    if (isTop()) { // dims a sheet below it as well
        painter.fillRect(rect(), Tones::faded(Tones::label, dimming));
        paintShadow(painter, panel);
    }
    const double width = m_isBranded ? 2 : 1;
    const QRectF frame = panel.adjusted(-width / 2, -width / 2, width / 2, width / 2);
    painter.setPen(
        QPen(m_isBranded ? MorvikTheme::Colors::lime : Tones::faded(Tones::label, 0.14), width));
    painter.setBrush(Tones::window);
    painter.drawRoundedRect(frame, radius, radius);
}

} // namespace morvik
