#include "app/updates/UpdateFeed.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>

using namespace kopertal;

void feed(QByteArrayView input) {
    const std::optional<QList<Release>> releases = readUpdateFeed(input.toByteArray());
    if (!releases)
        return;
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
}
