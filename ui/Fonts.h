#pragma once

#include <QFont>

namespace morvik {

/// What a desktop offers.
inline constexpr double leastTextFactor = 0.5;
inline constexpr double largestTextFactor = 3;

/// A factor of the desktop's that its display does not tell; 1 unless set. For texts that are made
/// afterwards.
void setTextFactor(double factor);

/// `pixels` logical pixels times the desktop's text factor (the display's text DPI over 96, times
/// what is set), so that texts keep their stated size on every screen and follow a user who asks
/// for larger ones.
int textPixels(int pixels);

/// The interface's typeface: Inter, else Noto Sans, else the desktop's.
QFont uiFont(int pixels, QFont::Weight weight = QFont::Normal);

/// The typeface of numbers and of text that is edited: JetBrains Mono, else DejaVu Sans Mono.
QFont monoFont(int pixels, QFont::Weight weight = QFont::Normal);

/// The kit's named sizes.
inline QFont sheetTitleFont() {
    return uiFont(18, QFont::Bold);
}
inline QFont headlineFont() {
    return uiFont(14, QFont::DemiBold);
}
inline QFont paneTitleFont() {
    return uiFont(13, QFont::DemiBold);
}
inline QFont textFont() {
    return uiFont(13);
}
inline QFont smallFont() {
    return uiFont(12);
}
inline QFont columnHeaderFont() {
    return uiFont(11, QFont::DemiBold);
}

} // namespace morvik
