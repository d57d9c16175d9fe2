#include "app/updates/UpdateFeed.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>

using namespace kopertal;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const std::optional<QList<Release>> releases = readUpdateFeed(bytes);
    if (!releases)
        return 0;
    const auto isHidden = [](QChar c) {
        return c != u'\n' &&
               (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format);
    };
    require(releases->size() <= 1000, "a feed is bounded");
    for (const Release& release : *releases) {
        require(parseVersion(release.versionText).has_value(), "a version is one");
        require(release.notes.size() <= 4001 && release.notes.count(u'\n') <= 200,
                "notes are bounded");
        require(std::ranges::none_of(release.notes, isHidden), "notes are plain");
        require(release.page.scheme() == u"https" && !release.page.host().isEmpty() &&
                    release.page.userInfo().isEmpty(),
                "pages are https pages");
    }
    return 0;
}
