#include "ui/Fonts.h"

#include <QFontDatabase>
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

/// The first of `families` that is installed. One name alone: with a list of them the toolkit would
/// look up at once, for each font, what it takes for letters that the font has not.
QString firstInstalled(const QStringList& families) {
    const auto found = std::find_if(families.begin(), families.end(), [](const QString& family) {
        return QFontDatabase::hasFamily(family);
    });
    return found == families.end() ? families.back() : *found;
}

QFont sized(const QString& family, int pixels, QFont::Weight weight) {
    QFont font(family);
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
    static const QString family = firstInstalled(
        {QStringLiteral("Inter"), QStringLiteral("Noto Sans"), QStringLiteral("DejaVu Sans")});
    return sized(family, pixels, weight);
}

QFont monoFont(int pixels, QFont::Weight weight) {
    static const QString family =
        firstInstalled({QStringLiteral("JetBrains Mono"), QStringLiteral("DejaVu Sans Mono"),
                        QStringLiteral("Liberation Mono")});
    QFont font = sized(family, pixels, weight);
    font.setStyleHint(QFont::Monospace);
    font.setStyleStrategy(QFont::PreferDefault);
    return font;
}

} // namespace morvik
