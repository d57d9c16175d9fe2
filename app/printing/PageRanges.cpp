#include "app/printing/PageRanges.h"

#include <QRegularExpression>

#include <algorithm>

namespace kopertal {

std::optional<std::vector<PageRange>> pageRanges(const QString& text) {
    static const QRegularExpression form(
        QStringLiteral("^\\s*([0-9]{1,6})\\s*(?:([-–])\\s*([0-9]{1,6})?\\s*)?$"));
    std::vector<PageRange> ranges;
    if (text.trimmed().isEmpty())
        return ranges;
    for (const QString& part : text.split(u',')) {
        const QRegularExpressionMatch match = form.match(part);
        if (!match.hasMatch())
            return std::nullopt;
        PageRange range;
        range.first = range.last = match.captured(1).toInt();
        if (match.hasCaptured(2))
            range.last = match.hasCaptured(3) ? match.captured(3).toInt() : lastPossiblePage;
        if (range.first < 1 || range.last < range.first)
            return std::nullopt;
        ranges.push_back(range);
    }
    std::ranges::sort(ranges, {}, &PageRange::first);
    std::vector<PageRange> joined;
    for (const PageRange& range : ranges) {
        if (!joined.empty() && range.first <= joined.back().last + 1)
            joined.back().last = std::max(joined.back().last, range.last);
        else
            joined.push_back(range);
    }
    return joined;
}

std::vector<int> chosenPages(const std::vector<PageRange>& ranges, int count) {
    std::vector<int> pages;
    for (const PageRange& range : ranges.empty() ? std::vector{PageRange{1, count}} : ranges) {
        for (int page = range.first; page <= std::min(range.last, count); ++page)
            pages.push_back(page - 1);
    }
    return pages;
}

QString pageRangesRefusal(const std::vector<PageRange>& ranges, int count) {
    const bool fits = std::ranges::all_of(ranges, [count](const PageRange& range) {
        return range.first <= count && (range.last <= count || range.last == lastPossiblePage);
    });
    return fits ? QString()
                : QStringLiteral("Dokument nie ma takich stron. Liczba jego stron: %1.").arg(count);
}

} // namespace kopertal
