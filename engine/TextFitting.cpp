#include "engine/TextFitting.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace kopertal {
namespace {

constexpr double charWidthMMPerPt = 0.155; // an average character of Arial, set narrowly
constexpr double mmPerPt = 0.3528;
constexpr double lineHeightFactor = 1.2;
constexpr double sizesPt[] = {8.0, 7.5, 7.0, 6.5, 6.0, 5.5};
constexpr double smallestPt = 5.0;

/// How often `part` goes into `whole`, at least once.
qsizetype wholeTimes(double whole, double part) {
    constexpr double enough = 1e9;
    const double times = whole / part;
    return times > 1 ? static_cast<qsizetype>(std::min(times, enough)) : 1;
}

qsizetype graphemeCount(const QString& text) {
    // Below the first combining mark only CR LF is a cluster of two.
    const auto isSimple = [](QChar c) { return c.unicode() < 0x300 && c != u'\r'; };
    if (std::all_of(text.begin(), text.end(), isSimple))
        return text.size();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() >= 0)
        ++count;
    return count;
}

} // namespace

qsizetype visualLines(const QStringList& lines, double fontPt, double widthMM) {
    const qsizetype charsPerLine = wholeTimes(widthMM, fontPt * charWidthMMPerPt);
    qsizetype total = 0;
    for (const QString& line : lines)
        total += std::max<qsizetype>(1, (graphemeCount(line) + charsPerLine - 1) / charsPerLine);
    return total;
}

double fitFontSize(const QStringList& lines, double widthMM, double heightMM) {
    for (const double size : sizesPt) {
        const qsizetype available = wholeTimes(heightMM, size * mmPerPt * lineHeightFactor);
        if (visualLines(lines, size, widthMM) <= available)
            return size;
    }
    return smallestPt;
}

} // namespace kopertal
