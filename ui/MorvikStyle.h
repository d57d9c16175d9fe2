#pragma once

#include <QProxyStyle>

class QApplication;

namespace morvik {

/// Fusion with the kit's light palette, fields, buttons and scroll bars.
class MorvikStyle : public QProxyStyle {
    Q_OBJECT

public:
    MorvikStyle();

    /// Gives the application this style, its palette and its fonts, whatever the desktop has.
    static void install(QApplication& application);

    void polish(QWidget* widget) override;
    using QProxyStyle::polish;
    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override;
    QIcon standardIcon(StandardPixmap which, const QStyleOption* option,
                       const QWidget* widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                            QPainter* painter, const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                         SubControl subControl, const QWidget* widget) const override;
    QRect subElementRect(SubElement element, const QStyleOption* option,
                         const QWidget* widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;
};

/// Marks a field whose value was refused; drawn with a red border until it is unmarked.
void setInvalid(QWidget* field, bool isInvalid);

} // namespace morvik
