#pragma once

#include <QColor>

/// The neutral colours of the controls: what a desktop's own palette would give, fixed so that the
/// kit looks the same on every desktop, dark ones too.
namespace morvik::Tones {

inline constexpr QColor label{0x1B, 0x2A, 0x4A};
inline constexpr QColor secondaryLabel{0x55, 0x63, 0x7F};
inline constexpr QColor mutedLabel{0x6B, 0x7B, 0x99};
inline constexpr QColor disabledLabel{0x8C, 0x98, 0xB0};
inline constexpr QColor placeholder{0x8A, 0x97, 0xAF};
inline constexpr QColor onLime{0x00, 0x00, 0x00};
inline constexpr QColor inProgress{0xB2, 0x5E, 0x09};
inline constexpr QColor info{0x25, 0x63, 0xC9};
inline constexpr QColor link = info;

inline constexpr QColor window{0xF5, 0xF6, 0xF8};
inline constexpr QColor field{0xFF, 0xFF, 0xFF};
inline constexpr QColor border{0xD8, 0xDC, 0xE6};
inline constexpr QColor hairline{0xEC, 0xEF, 0xF4};
inline constexpr QColor tableHeader{0xFA, 0xFB, 0xFC};
inline constexpr QColor fieldBorder{0xC9, 0xCF, 0xDB};
inline constexpr QColor fieldBorderHover{0xA9, 0xB3, 0xC6};
inline constexpr QColor scrollThumb{0xCB, 0xD1, 0xDC};
inline constexpr QColor limeHover{0xD3, 0xEC, 0x10};
inline constexpr QColor rowHover{0xF7, 0xF8, 0xFA};
inline constexpr QColor rowSelected{0xF8, 0xFD, 0xCB};
inline constexpr QColor rowSelectedInactive{0xED, 0xF0, 0xF4};

/// `color` with `share` (0 to 1) of its opacity.
inline QColor faded(QColor color, double share) {
    color.setAlpha(qRound(color.alpha() * share));
    return color;
}

} // namespace morvik::Tones
