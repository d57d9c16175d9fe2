#include "app/updates/UpdateFeed.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace kopertal {
namespace {

constexpr qsizetype maxEntries = 1000;
constexpr qsizetype maxNoteLength = 4000; // some screens of text
constexpr qsizetype maxNoteLines = 200;
constexpr qsizetype maxAddressLength = 2000;

/// Control and format characters (of directions, too) could make a text look like another one.
bool isShown(QChar c) {
    return c == u'\n' ||
           (c.category() != QChar::Other_Control && c.category() != QChar::Other_Format &&
            c != QChar::LineSeparator && c != QChar::ParagraphSeparator);
}

QString readNotes(QString text) {
    text.truncate(4 * maxNoteLength); // what is cut further down costs nothing
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"))
        .replace(u'\r', u'\n')
        .replace(u'\t', u' ');
    text.removeIf([](QChar c) { return !isShown(c); });
    text = text.trimmed();
    qsizetype end = -1;
    for (qsizetype line = 0; line < maxNoteLines; ++line) {
        end = text.indexOf(u'\n', end + 1);
        if (end < 0)
            break;
    }
    qsizetype length = std::min(end < 0 ? text.size() : end, maxNoteLength);
    if (length < text.size() && text.at(length).isLowSurrogate())
        --length;
    if (length < text.size())
        text = text.left(length).trimmed() + u'…';
    return text;
}

/// Empty unless it is one that a browser opens over TLS. A user's name before the host can make it
/// look like another host.
QUrl readPage(const QString& text) {
    if (text.size() > maxAddressLength)
        return {};
    const QUrl page(text, QUrl::StrictMode);
    const bool isSound = page.isValid() && page.scheme() == QStringLiteral("https") &&
                         !page.host().isEmpty() && page.userInfo().isEmpty();
    return isSound ? page : QUrl();
}

} // namespace

std::optional<QList<Release>> readUpdateFeed(const QByteArray& bytes) {
    if (static_cast<std::size_t>(bytes.size()) > maxFeedBytes)
        return std::nullopt;
    const QJsonObject feed = QJsonDocument::fromJson(bytes).object();
    if (!feed.value(u"version")
             .toString()
             .startsWith(QStringLiteral("https://jsonfeed.org/version/1")) ||
        !feed.value(u"items").isArray())
        return std::nullopt;
    const QJsonArray items = feed.value(u"items").toArray();
    QList<Release> releases;
    for (qsizetype index = 0; index < std::min(items.size(), maxEntries); ++index) {
        const QJsonObject item = items.at(index).toObject();
        const QString text = item.value(u"id").toString();
        const std::optional<Version> version = parseVersion(text);
        const QUrl page = readPage(item.value(u"url").toString());
        if (version && !page.isEmpty())
            releases.push_back(
                {*version, text, readNotes(item.value(u"content_text").toString()), page});
    }
    return releases;
}

std::optional<Release> newestUpdate(const QList<Release>& releases, const Version& own) {
    const Release* newest = nullptr;
    for (const Release& release : releases) {
        if (isUpdate(release.version, own) &&
            (newest == nullptr || std::is_gt(compareVersions(release.version, newest->version))))
            newest = &release;
    }
    return newest ? std::optional(*newest) : std::nullopt;
}

} // namespace kopertal
