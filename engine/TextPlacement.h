#pragma once

#include <QString>
#include <QStringList>
#include <pugixml.hpp>

namespace kopertal {

// Writing into a shape's text box: its first "wps:txbx" with a direct "w:txbxContent". The setters
// replace all of its content by one paragraph, single-spaced; a shape without such a box is left as
// it is. Text that XML cannot hold is left out. Font sizes are points.

/// Appends a run of Arial in Polish to the paragraph `parent`.
void makeRun(pugi::xml_node parent, const QString& text, double fontPt, bool bold);

/// Appends a line break of that size to the paragraph `parent`.
void makeBreakRun(pugi::xml_node parent, double fontPt);

/// What the setters fill: the content of the shape's text box; null where it has none.
pugi::xml_node textBoxContent(pugi::xml_node shape);

/// The lines of a recipient's name or address, below each other. Whether there is a box for them.
bool setTextboxText(pugi::xml_node shape, const QStringList& textLines, double fontPt);

/// The sender's name or address, 9 pt bold.
void setSenderText(pugi::xml_node shape, const QString& text);

/// "1" on the only page, otherwise "2/3"; 8 pt. Pages count from 1.
void setPageNumberText(pugi::xml_node shape, qsizetype pageNum, qsizetype totalPages);

} // namespace kopertal
