#pragma once

#include "app/updates/Version.h"

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <optional>

namespace kopertal {

/// What an answer may have at most; some hundred entries with long notes stay far below.
inline constexpr std::size_t maxFeedBytes = 256UL * 1024;

/// A version that can be had, as the feed tells.
struct Release {
    Version version;
    QString versionText;
    QString notes; ///< Plain text, "\n" between lines, bounded; may be empty.
    QUrl page;     ///< https, with a host.
};

/// The releases of a JSON Feed 1 (see docs/update-feed.md). Entries without a version or without an
/// https address, and what is beyond the first 1000, are left out. Nothing when it is no such feed.
std::optional<QList<Release>> readUpdateFeed(const QByteArray& bytes);

/// The last of the `releases` that are updates of `own`; nothing when there is none.
std::optional<Release> newestUpdate(const QList<Release>& releases, const Version& own);

} // namespace kopertal
