#include "engine/TextPlacement.h"

#include "engine/XmlText.h"
#include "engine/XmlTree.h"

namespace kopertal {
namespace {

constexpr double senderPt = 9.0;
constexpr double pageNumberPt = 8.0;

/// Appends the run's properties: the font, the weight, the size in half-points.
pugi::xml_node appendRunProperties(pugi::xml_node run, double fontPt, bool bold) {
    pugi::xml_node properties = run.append_child("w:rPr");
    pugi::xml_node fonts = properties.append_child("w:rFonts");
    for (const char* script : {"w:ascii", "w:hAnsi", "w:cs"})
        fonts.append_attribute(script) = "Arial";
    if (bold) {
        properties.append_child("w:b");
        properties.append_child("w:bCs");
    }
    const int halfPoints = static_cast<int>(fontPt * 2);
    properties.append_child("w:sz").append_attribute("w:val") = halfPoints;
    properties.append_child("w:szCs").append_attribute("w:val") = halfPoints;
    return properties;
}

/// Empties the shape's text box and gives it one paragraph without runs; null where there is no
/// box.
pugi::xml_node replaceWithParagraph(pugi::xml_node shape) {
    pugi::xml_node content = textBoxContent(shape);
    if (!content)
        return {};
    content.remove_children();
    pugi::xml_node paragraph = content.append_child("w:p");
    pugi::xml_node spacing = paragraph.append_child("w:pPr").append_child("w:spacing");
    spacing.append_attribute("w:after") = "0";
    spacing.append_attribute("w:line") = "240";
    spacing.append_attribute("w:lineRule") = "auto";
    return paragraph;
}

} // namespace

pugi::xml_node textBoxContent(pugi::xml_node shape) {
    const auto isBox = [](pugi::xml_node node) { return isElement(node, "wps:txbx"); };
    return shape.find_node(isBox).child("w:txbxContent");
}

void makeRun(pugi::xml_node parent, const QString& text, double fontPt, bool bold) {
    pugi::xml_node run = parent.append_child("w:r");
    appendRunProperties(run, fontPt, bold).append_child("w:lang").append_attribute("w:val") =
        "pl-PL";
    pugi::xml_node content = run.append_child("w:t");
    content.append_attribute("xml:space") = "preserve";
    content.text() = xmlSafe(text).toUtf8().constData();
}

void makeBreakRun(pugi::xml_node parent, double fontPt) {
    pugi::xml_node run = parent.append_child("w:r");
    appendRunProperties(run, fontPt, false);
    run.append_child("w:br");
}

bool setTextboxText(pugi::xml_node shape, const QStringList& textLines, double fontPt) {
    pugi::xml_node paragraph = replaceWithParagraph(shape);
    if (!paragraph)
        return false;
    for (qsizetype i = 0; i < textLines.size(); ++i) {
        if (i > 0)
            makeBreakRun(paragraph, fontPt);
        makeRun(paragraph, textLines[i], fontPt, false);
    }
    return true;
}

void setSenderText(pugi::xml_node shape, const QString& text) {
    if (pugi::xml_node paragraph = replaceWithParagraph(shape))
        makeRun(paragraph, text, senderPt, true);
}

void setPageNumberText(pugi::xml_node shape, qsizetype pageNum, qsizetype totalPages) {
    QString label = QString::number(pageNum);
    if (totalPages != 1)
        label += u'/' + QString::number(totalPages);
    if (pugi::xml_node paragraph = replaceWithParagraph(shape))
        makeRun(paragraph, label, pageNumberPt, false);
}

} // namespace kopertal
