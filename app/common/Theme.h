#pragma once

#include "ui/MorvikTheme.h"

#include <QColor>
#include <QStringView>

namespace kopertal {

namespace Color {

/// The opaque colour of the low 24 bits of a hexadecimal number, "#" at its ends ignored; black for
/// what is no such number of at most 64 bits. "#FFF" is 0x000FFF.
QColor fromHex(QStringView hex);

} // namespace Color

/// The colours of the program's screens.
namespace Theme {

inline const QColor primary = Color::fromHex(u"#1B2A4A");
inline const QColor bg = Color::fromHex(u"#F5F6F8");
inline const QColor card = Qt::white;
inline const QColor textMain = Color::fromHex(u"#1B2A4A");
inline const QColor textMuted = Color::fromHex(u"#6B7B99");
inline const QColor border = Color::fromHex(u"#D8DCE6");
inline const QColor warningBg = Color::fromHex(u"#FFF8E1");
inline const QColor warningBorder = Color::fromHex(u"#F9A825");
inline const QColor warningText = Color::fromHex(u"#795548");
inline const QColor brand = morvik::MorvikTheme::Colors::lime;
inline const QColor success = morvik::MorvikTheme::Colors::success;

} // namespace Theme
} // namespace kopertal
