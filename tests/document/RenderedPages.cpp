#include "tests/document/RenderedPages.h"

#include "tests/support/RunCommand.h"

#include <QXmlStreamReader>

#include <algorithm>

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
    PrintedPage words;
    std::ranges::copy_if(page, std::back_inserter(words),
                         [&](const PrintedWord& word) { return area.contains(word.box); });
    // The words of a line share their height to within a rounding.
    std::ranges::sort(words, [](const PrintedWord& a, const PrintedWord& b) {
        constexpr double sameLineMM = 0.3;
        const bool isSameLine = std::abs(a.box.bottom() - b.box.bottom()) < sameLineMM;
        return isSameLine ? a.box.left() < b.box.left() : a.box.bottom() < b.box.bottom();
    });
    QString text;
    for (const PrintedWord& word : words)
        text += withoutSpaces(word.text);
    return text;
}

QString withoutSpaces(const QString& text) {
    return text.simplified().remove(u' ');
}

} // namespace kopertal::test
