#pragma once

#include <QFont>

namespace morvik {

/// `pixels` logical pixels times the desktop's text factor (its text DPI over 96), so that texts
/// keep their stated size on every screen and follow a user who asks for larger ones.
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
