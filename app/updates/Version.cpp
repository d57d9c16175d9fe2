#include "app/updates/Version.h"

#include <QRegularExpression>

#include <algorithm>

namespace kopertal {
namespace {

constexpr qsizetype longestText = 64;

bool isDigits(const QString& text) {
    return !text.isEmpty() && text.front() >= u'0' && text.front() <= u'9';
}

QString withoutLeadingZeros(QStringView digits) {
    while (digits.size() > 1 && digits.front() == u'0')
        digits = digits.mid(1);
    return digits.toString();
}

/// Of digits without leading zeros, of any length.
std::strong_ordering compareDigits(const QString& a, const QString& b) {
    if (a.size() != b.size())
        return a.size() <=> b.size();
    return a.compare(b) <=> 0;
}

std::strong_ordering comparePart(const QString& a, const QString& b) {
    if (isDigits(a) && isDigits(b))
        return compareDigits(a, b);
    if (isDigits(a) != isDigits(b))
        return isDigits(a) ? std::strong_ordering::less : std::strong_ordering::greater;
    return a.compare(b, Qt::CaseInsensitive) <=> 0;
}

std::strong_ordering comparePreReleases(const Version& a, const Version& b) {
    if (a.isPreRelease() != b.isPreRelease())
        return a.isPreRelease() ? std::strong_ordering::less : std::strong_ordering::greater;
    return std::lexicographical_compare_three_way(a.preRelease.begin(), a.preRelease.end(),
                                                  b.preRelease.begin(), b.preRelease.end(),
                                                  comparePart);
}

std::strong_ordering compareWithoutBuilds(const Version& a, const Version& b) {
    const auto numbers = std::lexicographical_compare_three_way(
        a.numbers.begin(), a.numbers.end(), b.numbers.begin(), b.numbers.end(), compareDigits);
    return std::is_neq(numbers) ? numbers : comparePreReleases(a, b);
}

} // namespace

std::optional<Version> parseVersion(QStringView text) {
    static const QRegularExpression shape(
        QStringLiteral(R"(\A[vV]?([0-9]+(?:\.[0-9]+)*))"
                       R"((?:-([0-9A-Za-z-]+(?:\.[0-9A-Za-z-]+)*))?(?:\+([0-9A-Za-z.-]+))?\z)"));
    static const QRegularExpression part(QStringLiteral("[0-9]+|[A-Za-z]+"));
    if (text.size() > longestText)
        return std::nullopt;
    const QRegularExpressionMatch match = shape.match(text.toString());
    if (!match.hasMatch())
        return std::nullopt;
    Version version;
    for (const QString& number : match.captured(1).split(u'.'))
        version.numbers.push_back(withoutLeadingZeros(number));
    while (!version.numbers.empty() && version.numbers.back() == u'0')
        version.numbers.pop_back();
    for (auto parts = part.globalMatch(match.captured(2)); parts.hasNext();)
        version.preRelease.push_back(withoutLeadingZeros(parts.next().captured()));
    const QString build = match.captured(3);
    if (std::all_of(build.begin(), build.end(), [](QChar c) { return c >= u'0' && c <= u'9'; }) &&
        !build.isEmpty())
        version.build = withoutLeadingZeros(build);
    return version;
}

std::strong_ordering compareVersions(const Version& a, const Version& b) {
    const auto order = compareWithoutBuilds(a, b);
    if (std::is_neq(order))
        return order;
    if (a.build && b.build)
        return compareDigits(*a.build, *b.build);
    return a.build.has_value() <=> b.build.has_value();
}

bool isUpdate(const Version& candidate, const Version& own) {
    if (candidate.isPreRelease() && !own.isPreRelease())
        return false;
    return std::is_gt(own.build ? compareVersions(candidate, own)
                                : compareWithoutBuilds(candidate, own));
}

} // namespace kopertal
