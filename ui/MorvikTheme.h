#pragma once

#include <QColor>
#include <QString>

/// The kit's named colours, measures and texts.
namespace morvik::MorvikTheme {

namespace Colors {

inline constexpr QColor lime{0xDE, 0xF7, 0x1C};
inline constexpr QColor limeDark{0xB4, 0xC8, 0x14};
inline constexpr QColor accent = lime;
inline constexpr QColor success{0x1C, 0x87, 0x45};
inline constexpr QColor error{0xD1, 0x2F, 0x2F};
inline constexpr QColor dropZone{0x55, 0x63, 0x7F, 13};       // the secondary label at 5 %
inline constexpr QColor dropZoneActive{0xDE, 0xF7, 0x1C, 31}; // lime at 12 %
inline constexpr QColor sectionBorder = lime;
inline constexpr QColor sectionBackground{0xFF, 0xFF, 0xFF};

} // namespace Colors

/// In logical pixels.
namespace Layout {

inline constexpr int fileListHeight = 300;
inline constexpr int fileListHeightLarge = 350;
inline constexpr int dropZoneMinHeight = 160;

} // namespace Layout

namespace Labels {

inline const auto selectFiles = QStringLiteral("Wybierz pliki");
inline const auto selectFile = QStringLiteral("Wybierz plik");
inline const auto dropFiles = QStringLiteral("Przeciągnij pliki tutaj");
inline const auto dropOrSelect = QStringLiteral("Przeciągnij pliki tutaj lub kliknij aby wybrać");
inline const auto dropOrSelectSingle =
    QStringLiteral("Przeciągnij plik tutaj lub kliknij aby wybrać");
inline const auto process = QStringLiteral("Przetwórz");
inline const auto processing = QStringLiteral("Przetwarzanie...");
inline const auto cancel = QStringLiteral("Anuluj");
inline const auto clear = QStringLiteral("Wyczyść");
inline const auto remove = QStringLiteral("Usuń");
inline const auto success = QStringLiteral("Gotowe");
inline const auto error = QStringLiteral("Błąd");
inline const auto outputDir = QStringLiteral("Katalog wyjściowy");
inline const auto chooseDir = QStringLiteral("Wybierz katalog");
inline const auto sameAsInput = QStringLiteral("Taki sam jak wejściowy");
inline const auto preview = QStringLiteral("Podgląd");
inline const auto files = QStringLiteral("Pliki");
inline const auto noFiles = QStringLiteral("Brak plików");
inline const auto addFiles = QStringLiteral("Dodaj pliki");
inline const auto download = QStringLiteral("Pobierz");
inline const auto showInFinder = QStringLiteral("Pokaż w Finderze");
inline const auto openFile = QStringLiteral("Otwórz plik");
inline const auto changeFile = QStringLiteral("Zmień plik");
inline const auto selectAll = QStringLiteral("Zaznacz wszystkie");
inline const auto deselectAll = QStringLiteral("Odznacz");
inline const auto sendViaEmail = QStringLiteral("Wyślij mailem");

} // namespace Labels

inline const auto appVersion = QStringLiteral("1.0.0");

} // namespace morvik::MorvikTheme
