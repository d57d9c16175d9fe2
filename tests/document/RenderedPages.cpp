#include "tests/document/RenderedPages.h"

#include <QProcess>
#include <QXmlStreamReader>

#include <algorithm>

namespace kopertal::test {
namespace {

constexpr int timeLimitMs = 240'000;

/// The standard output; nothing when the program fails or is not there.
QByteArray outputOf(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    const bool isDone = process.waitForFinished(timeLimitMs) &&
                        process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!isDone) {
        qWarning("%s: %s %s", qPrintable(program), qPrintable(process.errorString()),
                 process.readAllStandardError().constData());
        return {};
    }
    return process.readAllStandardOutput();
}

QRectF boxInMM(const QXmlStreamAttributes& attributes) {
    const auto length = [&](const char* name) {
        constexpr double mmPerPt = 25.4 / 72;
        return attributes.value(QLatin1String(name)).toDouble() * mmPerPt;
    };
    return {QPointF(length("xMin"), length("yMin")), QPointF(length("xMax"), length("yMax"))};
}

} // namespace

bool printDocuments(const QStringList& documents, const QString& folder) {
    const QStringList arguments{
        QStringLiteral("-env:UserInstallation=file://%1/profile").arg(folder),
        QStringLiteral("--headless"),
        QStringLiteral("--convert-to"),
        QStringLiteral("pdf"),
        QStringLiteral("--outdir"),
        folder};
    return !outputOf(QStringLiteral("soffice"), arguments + documents).isEmpty();
}

QList<PrintedPage> printedPages(const QString& pdf) {
    QXmlStreamReader reader(
        outputOf(QStringLiteral("pdftotext"), {QStringLiteral("-bbox"), pdf, QStringLiteral("-")}));
    QList<PrintedPage> pages;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == u"page") {
            pages.emplaceBack();
        } else if (reader.name() == u"word") {
            const QRectF box = boxInMM(reader.attributes());
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
    QString result = text;
    result.removeIf([](QChar c) { return c.isSpace(); });
    return result;
}

} // namespace kopertal::test
