#include "ui/Fonts.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace morvik {
namespace {

double untoldFactor = 1;

double textFactor() {
    constexpr double referenceDpi = 96;
    const QScreen* screen = QGuiApplication::primaryScreen();
    const double dpi = screen ? screen->logicalDotsPerInch() : referenceDpi;
    return std::clamp(dpi / referenceDpi * untoldFactor, 0.75, 3.0);
}

QFont sized(const QStringList& families, int pixels, QFont::Weight weight) {
    QFont font(families);
    font.setPixelSize(textPixels(pixels));
    font.setWeight(weight);
    return font;
}

} // namespace

void setTextFactor(double factor) {
    untoldFactor = factor;
}

int textPixels(int pixels) {
    return qRound(pixels * textFactor());
}

QFont uiFont(int pixels, QFont::Weight weight) {
    static const QStringList families{QStringLiteral("Inter"), QStringLiteral("Noto Sans"),
                                      QStringLiteral("DejaVu Sans")};
    return sized(families, pixels, weight);
}

QFont monoFont(int pixels, QFont::Weight weight) {
    static const QStringList families{QStringLiteral("JetBrains Mono"),
                                      QStringLiteral("DejaVu Sans Mono"),
                                      QStringLiteral("Liberation Mono")};
    QFont font = sized(families, pixels, weight);
    font.setStyleHint(QFont::Monospace);
    font.setStyleStrategy(QFont::PreferDefault);
    return font;
}

} // namespace morvik
