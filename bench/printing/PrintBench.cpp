// How long a register takes from its finished document to the print system, by the word processor
// that is installed and a stand-in of CUPS: ten pages, then more of them, beside the word
// processor's own time for the same document in one piece when --whole is given (100 pages take it
// over a minute). Every printed page's number and order are checked. PrintBench [--whole] [PAGES]
#include "app/printing/RegisterPrinting.h"
#include "app/printing/Rendering.h"
#include "bench/Result.h"
#include "engine/RegisterDocument.h"
#include "engine/WorkFolder.h"
#include "tests/app/StandInPrinter.h"
#include "tests/document/RenderedPages.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

using namespace kopertal;

namespace {

constexpr QRectF pageNumberBox(174, 14, 26, 7); // the form's, in millimetres

QString makeRegister(const WorkFolder& folder, int pages) {
    QString text;
    for (int number = 1; number <= pages * 10; ++number)
        text += QStringLiteral("Łukasz Gąsiorowski %1\nulica Główna 5 m. %1\n80-831 Gdańsk\n\n")
                    .arg(number);
    const QString path = folder.filePath(QStringLiteral("%1.docx").arg(pages));
    fillTemplate(parseAddresses(text), std::nullopt, path, QStringLiteral("Nadawca"),
                 QStringLiteral("ul. Prosta 1"));
    return path;
}

void check(const QString& pdf, int pages) {
    const QList<test::PrintedPage> printed = test::printedPages(pdf);
    for (int page = 0; page < printed.size(); ++page) {
        const QString number = QStringLiteral("%1/%2").arg(page + 1).arg(pages);
        if (test::textInside(printed[page], pageNumberBox) != number) {
            std::printf("page %d has the wrong number\n", page + 1);
            std::exit(1);
        }
    }
    if (printed.size() != pages) {
        std::printf("%lld pages instead of %d\n", static_cast<long long>(printed.size()), pages);
        std::exit(1);
    }
}

double seconds(const QElapsedTimer& timer) {
    return static_cast<double>(timer.elapsed()) / 1e3;
}

double print(const test::StandInPrinter& cups, const WorkFolder& folder, int pages) {
    const QString document = makeRegister(folder, pages);
    const int job = cups.jobs() + 1;
    QElapsedTimer timer;
    timer.start();
    const PrintResult result = RegisterPrinting().print(
        {document, QStringLiteral("Biuro"), 1, true, {}}, [](int, int) {}, {});
    const double time = seconds(timer);
    if (!result.error.isEmpty()) {
        std::printf("%s\n", qPrintable(result.error));
        std::exit(1);
    }
    check(cups.pdf(job), pages);
    std::printf("%5d pages  %6.1f s  (numbers and order right, %lld kB for the printer)\n", pages,
                time, static_cast<long long>(QFileInfo(cups.pdf(job)).size() / 1024));
    std::fflush(stdout);
    return time;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().sliced(1);
    const bool alsoWhole = arguments.removeAll(QStringLiteral("--whole")) > 0;
    const int pages = std::max(1, arguments.value(0, QStringLiteral("100")).toInt());
    const test::StandInPrinter cups;
    const WorkFolder folder;
    const double ten = print(cups, folder, 10);
    const double all = print(cups, folder, pages);
    const double again = print(cups, folder, 10);
    const double ratio = all * 2 / (ten + again);
    std::printf("%d pages take %.1f times as long as 10 (mark %.0f)\n", pages, ratio, pages / 10.0);
    const QByteArray promise = "printing " + QByteArray::number(pages) + " pages";
    bench::record({.promise = promise.constData(),
                   .figure = all,
                   .unit = "s",
                   .reference = "10 pages",
                   .referenceFigure = (ten + again) / 2,
                   .ratio = ratio,
                   .relation = "<=",
                   .mark = pages / 10.0});
    if (alsoWhole) {
        QElapsedTimer timer;
        timer.start();
        renderDocuments(
            {makeRegister(folder, pages)}, folder.path(), [](int) {}, {}, std::chrono::hours(1));
        std::printf("%5d pages  %6.1f s  in one piece: %.1f times ours\n", pages, seconds(timer),
                    seconds(timer) / all);
    }
    return 0;
}
