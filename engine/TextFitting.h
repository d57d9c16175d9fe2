#pragma once

#include <QStringList>

namespace kopertal {

// An estimate of the font size at which a text fits a box, from an average character's width: no
// font is measured, so it is cheap and the same on every machine. Sizes in points, lengths in
// millimetres.

/// The lines that `lines` wrap to at the size in a box so wide; an empty string counts as one.
/// Counts user-perceived characters.
qsizetype visualLines(const QStringList& lines, double fontPt, double widthMM);

/// The largest of 8.0, 7.5, … 5.5 pt at which `lines` fit the box, else 5.0.
double fitFontSize(const QStringList& lines, double widthMM, double heightMM);

} // namespace kopertal
