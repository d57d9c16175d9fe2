#include "tests/document/RenderedPages.h"

#include "tests/support/RunCommand.h"

#include <QXmlStreamReader>

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
    QXmlStreamReader reader(runCommand("pdftotext", {"-bbox", pdf, "-"}).output);
    QList<PrintedPage> pages;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const auto millimetres = [&](const char* name) {
            return reader.attributes().value(QLatin1String(name)).toDouble() * 25.4 / 72;
        };
        if (reader.name() == u"page") {
            pages.emplaceBack();
        } else if (reader.name() == u"word") {
            const QRectF box(QPointF(millimetres("xMin"), millimetres("yMin")),
                             QPointF(millimetres("xMax"), millimetres("yMax")));
            pages.last().append({reader.readElementText(), box});
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
