#include "app/updates/Updater.h"

#include "net/Deliver.h"
#include "net/HttpClient.h"

#include <QDateTime>
#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace kopertal {
namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(updatesLog, "kopertal.updates", QtWarningMsg)

constexpr std::chrono::seconds retryDelay = 1h;
constexpr std::chrono::milliseconds longestWait = 24h; // the timer counts milliseconds in an int

const auto lastCheckKey = QStringLiteral("updates.lastCheck");
const auto skippedKey = QStringLiteral("updates.skippedVersion");

/// The version that runs; without a build's number when that is not known.
Version ownVersion(const UpdaterParts& parts) {
    Version version = parseVersion(parts.version).value_or(Version());
    const auto withBuild = parseVersion(QStringLiteral("0+") + parts.buildNumber);
    if (!version.build && withBuild && withBuild->build != QStringLiteral("0"))
        version.build = withBuild->build;
    return version;
}

} // namespace

Updater::Updater(UpdaterParts parts, QObject* parent)
    : QObject(parent),
      m_parts(std::move(parts)),
      m_isEnabled(m_parts.feed.startsWith(QStringLiteral("https://"))) {
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::VeryCoarseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Updater::checkWhenDue);
}

Updater::~Updater() = default;

void Updater::start() {
    if (m_isEnabled && m_parts.interval > 0s)
        schedule(m_parts.startDelay);
}

void Updater::schedule(std::chrono::milliseconds delay) {
    m_timer.start(std::clamp(delay, 0ms, longestWait));
}

void Updater::checkWhenDue() {
    if (m_client) // the user's check schedules the next one
        return;
    const QDateTime last =
        QDateTime::fromString(m_parts.store.text(lastCheckKey).value_or(QString()), Qt::ISODate);
    const std::chrono::seconds since(last.isValid() ? last.secsTo(QDateTime::currentDateTimeUtc())
                                                    : -1);
    if (since >= 0s && since < m_parts.interval) // a time in the future is a clock that was wrong
        schedule(m_parts.interval - since);
    else
        check(false);
}

void Updater::checkForUpdates() {
    if (canCheckForUpdates())
        check(true);
}

void Updater::check(bool isAskedFor) {
    qCInfo(updatesLog, "sprawdzanie aktualizacji, %s", isAskedFor ? "na życzenie" : "okresowe");
    m_client = std::make_unique<HttpClient>(m_parts.makeCarrier());
    Q_EMIT canCheckForUpdatesChanged(false);
    HttpRequest request;
    request.url = m_parts.feed.toStdString();
    deliver(m_client->send(std::move(request)), this, [this, isAskedFor](const HttpAnswer& answer) {
        m_client.reset();
        finish(answer, isAskedFor);
        Q_EMIT canCheckForUpdatesChanged(true);
    });
}

void Updater::finish(const HttpAnswer& answer, bool isAskedFor) {
    constexpr long firstError = 300;
    QString problem;
    std::optional<QList<Release>> releases;
    if (answer.failure != HttpFailure::none)
        problem = failureText(answer);
    else if (answer.status >= firstError)
        problem = QStringLiteral("Serwer aktualizacji odpowiedział błędem %1.").arg(answer.status);
    else if (releases = readUpdateFeed(QByteArray::fromStdString(answer.text())); !releases)
        problem = QStringLiteral("Nie można odczytać odpowiedzi serwera aktualizacji.");

    if (m_parts.interval > 0s)
        schedule(problem.isEmpty() ? m_parts.interval : std::min(m_parts.interval, retryDelay));
    if (!problem.isEmpty()) {
        qCInfo(updatesLog, "nie udało się sprawdzić aktualizacji");
        if (isAskedFor)
            Q_EMIT checkFailed(problem);
        return;
    }
    m_parts.store.setText(lastCheckKey, QDateTime::currentDateTimeUtc().toString(Qt::ISODate));
    const std::optional<Release> update = newestUpdate(*releases, ownVersion(m_parts));
    qCInfo(updatesLog, "wydań %lld, %s", static_cast<qint64>(releases->size()),
           update ? "jest nowsze" : "nowszego nie ma");
    if (update && (isAskedFor || !isSkipped(*update)))
        Q_EMIT updateFound(*update, isAskedFor);
    else if (!update && isAskedFor)
        Q_EMIT upToDate();
}

void Updater::skip(const Release& release) {
    m_parts.store.setText(skippedKey, release.versionText);
}

bool Updater::isSkipped(const Release& release) const {
    const auto skipped = parseVersion(m_parts.store.text(skippedKey).value_or(QString()));
    return skipped && std::is_lteq(compareVersions(release.version, *skipped));
}

} // namespace kopertal
