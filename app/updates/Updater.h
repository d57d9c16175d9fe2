#pragma once

#include "app/settings/PreferencesStore.h"
#include "app/updates/UpdateFeed.h"
#include "net/HttpCarrier.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

namespace kopertal {

class HttpClient;

/// What an Updater works with.
struct UpdaterParts {
    QString feed; ///< An https address; any other switches the updater off.
    QString version;
    QString buildNumber;           ///< "0" when it is not known.
    std::chrono::seconds interval; ///< Between scheduled checks; 0 for none.
    PreferencesStore store;        ///< Keeps the last check's time and the skipped version.
    std::function<std::unique_ptr<HttpCarrier>()> makeCarrier; ///< For each check, when it begins.
    /// From start() to the first look at the clock, so that nothing is in the window's way.
    std::chrono::milliseconds startDelay = std::chrono::seconds(10);
};

/// Asks the update feed whether there is a newer version: by itself, every interval, and when the
/// user wants to know. A check by itself that fails, or finds nothing or a skipped version, is
/// silent, and a failed one is tried again within the hour. Idle, it is one timer. Main thread
/// only.
class Updater : public QObject {
    Q_OBJECT

public:
    explicit Updater(UpdaterParts parts, QObject* parent = nullptr);
    ~Updater() override;

    /// Begins the checks by itself.
    void start();

    /// False while a check is under way or when there is no feed.
    bool canCheckForUpdates() const { return m_isEnabled && !m_client; }
    const QString& version() const { return m_parts.version; }

    /// A check that the user wants: it answers by one of the signals. Nothing while it cannot.
    void checkForUpdates();

    /// `release` is not offered by itself any more; what comes after it is.
    void skip(const Release& release);

Q_SIGNALS:
    void canCheckForUpdatesChanged(bool canCheck);
    void updateFound(const kopertal::Release& release, bool isAskedFor);
    /// Only of checks that the user wanted:
    void upToDate();
    void checkFailed(const QString& message);

private:
    void checkWhenDue();
    void schedule(std::chrono::milliseconds delay);
    void check(bool isAskedFor);
    void finish(const HttpAnswer& answer, bool isAskedFor);
    bool isSkipped(const Release& release) const;

    UpdaterParts m_parts;
    bool m_isEnabled;
    std::unique_ptr<HttpClient> m_client; ///< While a check is under way.
    QTimer m_timer;
};

} // namespace kopertal
