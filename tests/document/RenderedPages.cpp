#include "tests/document/RenderedPages.h"

#include "tests/support/RunCommand.h"

#include <pugixml.hpp>

namespace kopertal::test {

bool printDocuments(const QStringList& documents, const QString& folder) {
    const CommandResult result =
        runCommand("soffice", QStringList{"-env:UserInstallation=file://" + folder + "/profile",
                                          "--headless", "--convert-to", "pdf", "--outdir", folder} +
                                  documents);
    if (result.exitCode != 0)
        qWarning("soffice: %s", qPrintable(result.messages));
    return result.exitCode == 0;
}

QList<PrintedPage> printedPages(const QString& pdf) {
    const QByteArray xml = runCommand("pdftotext", {"-bbox", pdf, "-"}).output.toUtf8();
    pugi::xml_document document;
    document.load_string(xml.constData());
    QList<PrintedPage> pages;
    for (const pugi::xpath_node page : document.select_nodes("//page")) {
        pages.emplaceBack();
        for (const pugi::xml_node word : page.node().children("word")) {
            const auto millimetres = [word](const char* name) {
                return word.attribute(name).as_double() * 25.4 / 72;
            };
            pages.last().append(
                {word.text().get(), QRectF(QPointF(millimetres("xMin"), millimetres("yMin")),
                                           QPointF(millimetres("xMax"), millimetres("yMax")))});
        }
    }
    return pages;
}

QString textInside(const PrintedPage& page, const QRectF& area) {
    QString text;
    for (const PrintedWord& word : page) {
        if (area.contains(word.box))
            text += withoutSpaces(word.text);
    }
    return text;
}

QString withoutSpaces(const QString& text) {
    return text.simplified().remove(u' ');
}

} // namespace kopertal::test
