#include "ui/MorvikStyle.h"

#include "ui/BorderFrame.h"
#include "ui/FocusRing.h"
#include "ui/Fonts.h"
#include "ui/Icons.h"
#include "ui/LimeBorderedButton.h"
#include "ui/MorvikTheme.h"
#include "ui/Motion.h"
#include "ui/Tones.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QStyleOption>
#include <QToolTip>

namespace morvik {
namespace {

constexpr int ringMargin = 6; // room of a focus ring outside its control
constexpr double fieldRadius = 6;
constexpr double focusRadius = 3;
constexpr double focusWidth = 1.5;
constexpr int fieldHeight = 32;
constexpr int fieldPadding = 7;
constexpr int scrollThumb = 6;
constexpr int scrollEdge = 6;
const char* const invalidProperty = "morvikInvalid";

QPalette lightPalette() {
    QPalette palette(Tones::window);
    const auto set = [&](QPalette::ColorRole role, const QColor& color, const QColor& disabled) {
        palette.setColor(QPalette::All, role, color);
        palette.setColor(QPalette::Disabled, role, disabled);
    };
    set(QPalette::Window, Tones::window, Tones::window);
    set(QPalette::WindowText, Tones::label, Tones::disabledLabel);
    set(QPalette::Base, Tones::field, Tones::window);
    set(QPalette::AlternateBase, Tones::tableHeader, Tones::tableHeader);
    set(QPalette::Text, Tones::label, Tones::disabledLabel);
    set(QPalette::PlaceholderText, Tones::placeholder, Tones::faded(Tones::placeholder, 0.6));
    set(QPalette::Button, Tones::window, Tones::window);
    set(QPalette::ButtonText, Tones::label, Tones::disabledLabel);
    set(QPalette::Highlight, QColor(0xDD, 0xE6, 0xF7), Tones::rowSelectedInactive);
    set(QPalette::HighlightedText, Tones::label, Tones::disabledLabel);
    set(QPalette::ToolTipBase, Tones::label, Tones::label);
    set(QPalette::ToolTipText, Qt::white, Qt::white);
    set(QPalette::Link, Tones::link, Tones::disabledLabel);
    set(QPalette::LinkVisited, Tones::link, Tones::disabledLabel);
    set(QPalette::BrightText, Qt::white, Qt::white);
    set(QPalette::Light, Qt::white, Qt::white);
    set(QPalette::Midlight, Tones::hairline, Tones::hairline);
    set(QPalette::Mid, Tones::fieldBorder, Tones::border);
    set(QPalette::Dark, Tones::fieldBorderHover, Tones::fieldBorder);
    set(QPalette::Shadow, Tones::secondaryLabel, Tones::disabledLabel);
    return palette;
}

void drawField(QPainter* painter, const QStyleOption* option, const QWidget* widget) {
    const bool isEnabled = option->state & QStyle::State_Enabled;
    QColor border = Tones::fieldBorder;
    if (!isEnabled)
        border = Tones::faded(Tones::fieldBorder, 0.6);
    else if (widget && widget->property(invalidProperty).toBool())
        border = MorvikTheme::Colors::error;
    else if (option->state & QStyle::State_HasFocus)
        border = Tones::label;
    else if (option->state & QStyle::State_MouseOver)
        border = Tones::fieldBorderHover;
    paintFrame(*painter, option->rect, fieldRadius, border, option->palette.base());
}

/// Fusion's own draws a line below each item.
void drawMenuBarItem(QPainter* painter, const QStyleOption* option) {
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    if (!item)
        return;
    const bool isActive =
        (item->state & QStyle::State_Selected) && (item->state & QStyle::State_Enabled);
    painter->fillRect(item->rect, Tones::window);
    if (isActive)
        painter->fillRect(item->rect, Tones::faded(Tones::label, 0.08));
    painter->setFont(item->font);
    painter->setPen(item->palette.color(item->state & QStyle::State_Enabled ? QPalette::Normal
                                                                            : QPalette::Disabled,
                                        QPalette::WindowText));
    painter->drawText(item->rect, Qt::AlignCenter | Qt::TextShowMnemonic | Qt::TextSingleLine,
                      item->text);
}

/// Fusion's own is as pale as the selection: in the toolkit's panels nobody would see where the
/// keyboard is.
void drawFocus(QPainter* painter, const QRect& rect) {
    paintFrame(*painter, rect, focusRadius, QPen(Tones::label, focusWidth), Qt::NoBrush);
}

bool isField(const QWidget* widget) {
    const auto* edit = qobject_cast<const QLineEdit*>(widget);
    return edit && edit->hasFrame();
}

} // namespace

void setInvalid(QWidget* field, bool isInvalid) {
    field->setProperty(invalidProperty, isInvalid);
    field->update();
}

MorvikStyle::MorvikStyle() : QProxyStyle(QStringLiteral("Fusion")) {
}

void MorvikStyle::install(QApplication& application) {
    application.setStyle(new MorvikStyle); // the application owns it
    application.setPalette(lightPalette());
    application.setFont(textFont());
    for (const char* bar : {"QMenuBar", "QMenu", "QMessageBox"})
        QApplication::setFont(textFont(), bar);
    QIcon::setThemeName(QStringLiteral("hicolor")); // none: the desktop's icons do not go with ours
    QToolTip::setPalette(lightPalette());
    QToolTip::setFont(smallFont());
}

void MorvikStyle::polish(QWidget* widget) {
    QProxyStyle::polish(widget);
    const char* const ringed = "morvikRinged";
    if (isField(widget) && !widget->property(ringed).toBool()) {
        widget->setProperty(ringed, true);
        widget->setAttribute(Qt::WA_Hover);
        RingShape ring = limeRing(fieldRadius);
        ring.always = true;
        addFocusRing(widget, ring);
    }
}

int MorvikStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                             const QWidget* widget) const {
    switch (metric) {
    case PM_FocusFrameHMargin:
    case PM_FocusFrameVMargin:
        return ringMargin;
    case PM_ScrollBarExtent:
        return scrollThumb + 2 * scrollEdge;
    case PM_ScrollView_ScrollBarSpacing:
        return 0;
    case PM_MenuBarPanelWidth:
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical:
        return 0;
    case PM_MenuBarVMargin:
        return 2;
    case PM_MenuBarHMargin:
        return 8;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int MorvikStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                           QStyleHintReturn* data) const {
    switch (hint) {
    case SH_FocusFrame_AboveWidget:
        return 1;
    case SH_Widget_Animation_Duration:
        return isMotionWanted() ? QProxyStyle::styleHint(hint, option, widget, data) : 0;
    case SH_FocusFrame_Mask: // else a ring inside its control would be cut out
    case SH_ScrollBar_Transient:
    case SH_EtchDisabledText:
    case SH_DialogButtonBox_ButtonsHaveIcons:
        return 0;
    default:
        return QProxyStyle::styleHint(hint, option, widget, data);
    }
}

/// A menu bar asks for its picture of "more" when it is made. The toolkit's own would have every
/// image plugin loaded, which takes longer than the whole window.
QIcon MorvikStyle::standardIcon(StandardPixmap which, const QStyleOption* option,
                                const QWidget* widget) const {
    if (which == SP_ToolBarHorizontalExtensionButton)
        return icon(QStringLiteral("chevron.down"), Tones::label);
    return QProxyStyle::standardIcon(which, option, widget);
}

void MorvikStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                QPainter* painter, const QWidget* widget) const {
    if (element == PE_PanelLineEdit && isField(widget))
        drawField(painter, option, widget);
    else if (element == PE_FrameFocusRect && qobject_cast<const QPushButton*>(widget))
        return; // outlined buttons carry a ring
    else if (element == PE_FrameFocusRect && option->state & State_KeyboardFocusChange)
        drawFocus(painter, option->rect);
    else
        QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void MorvikStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const {
    switch (element) {
    case CE_PushButtonBevel:
        LimeBorderedButtonStyle::paintFrame(*painter, *option);
        return;
    case CE_Splitter:
        painter->fillRect(option->rect, Tones::border);
        return;
    case CE_MenuBarEmptyArea:
        painter->fillRect(option->rect, Tones::window);
        return;
    case CE_MenuBarItem:
        drawMenuBarItem(painter, option);
        return;
    case CE_FocusFrame:
        return; // a ring paints itself
    case CE_ShapedFrame:
        QProxyStyle::drawControl(element, option, painter, widget);
        if (const auto* view = qobject_cast<const QAbstractItemView*>(widget);
            view && view->hasFocus() && view->frameShape() != QFrame::NoFrame)
            drawFocus(painter, option->rect);
        return;
    default:
        QProxyStyle::drawControl(element, option, painter, widget);
    }
}

void MorvikStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                     QPainter* painter, const QWidget* widget) const {
    if (control != CC_ScrollBar) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        if (control == CC_ComboBox && option->state & State_HasFocus)
            drawFocus(painter, option->rect);
        return;
    }
    if (!(option->state & State_Enabled))
        return;
    const QRect thumb = subControlRect(control, option, SC_ScrollBarSlider, widget);
    const bool isHorizontal = option->state & State_Horizontal;
    QRectF bar(thumb);
    if (isHorizontal)
        bar.adjust(0, scrollEdge, 0, -scrollEdge);
    else
        bar.adjust(scrollEdge, 0, -scrollEdge, 0);
    paintFrame(*painter, bar, scrollThumb / 2.0, Qt::NoPen,
               option->state & (State_MouseOver | State_Sunken) ? Tones::fieldBorderHover
                                                                : Tones::scrollThumb);
}

/// Without arrow buttons: the groove is the whole bar, less the distance kept at its ends.
QRect MorvikStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                  SubControl subControl, const QWidget* widget) const {
    const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || !bar)
        return QProxyStyle::subControlRect(control, option, subControl, widget);
    constexpr int shortestThumb = 28;
    const bool isHorizontal = bar->orientation == Qt::Horizontal;
    const QRect groove = isHorizontal ? bar->rect.adjusted(scrollEdge, 0, -scrollEdge, 0)
                                      : bar->rect.adjusted(0, scrollEdge, 0, -scrollEdge);
    const int length = isHorizontal ? groove.width() : groove.height();
    const qint64 range = qint64(bar->maximum) - bar->minimum;
    const qint64 whole = range + bar->pageStep;
    const int thumb = range == 0 || whole <= 0
                          ? length
                          : std::clamp(int(qint64(length) * bar->pageStep / whole),
                                       std::min(shortestThumb, length), length);
    const int start = sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition,
                                              length - thumb, bar->upsideDown);
    const auto part = [&](int from, int size) {
        return isHorizontal ? QRect(groove.x() + from, groove.y(), size, groove.height())
                            : QRect(groove.x(), groove.y() + from, groove.width(), size);
    };
    switch (subControl) {
    case SC_ScrollBarGroove:
        return groove;
    case SC_ScrollBarSlider:
        return part(start, thumb);
    case SC_ScrollBarSubPage:
        return part(0, start);
    case SC_ScrollBarAddPage:
        return part(start + thumb, length - start - thumb);
    default:
        return {};
    }
}

QRect MorvikStyle::subElementRect(SubElement element, const QStyleOption* option,
                                  const QWidget* widget) const {
    const QRect rect = QProxyStyle::subElementRect(element, option, widget);
    return element == SE_LineEditContents && isField(widget)
               ? rect.adjusted(fieldPadding, 0, -fieldPadding, 0)
               : rect;
}

QSize MorvikStyle::sizeFromContents(ContentsType type, const QStyleOption* option,
                                    const QSize& size, const QWidget* widget) const {
    QSize result = QProxyStyle::sizeFromContents(type, option, size, widget);
    if (type == CT_LineEdit && isField(widget))
        result.setHeight(std::max(fieldHeight, option->fontMetrics.height() + 14));
    else if (type == CT_PushButton)
        result = {std::max(result.width() + 16, 80),
                  std::max(fieldHeight, option->fontMetrics.height() + 14)};
    return result;
}

} // namespace morvik
