#include "app/Configuration.h"

#include "app/BuildConfig.h"
#include "app/BuildNumber.h"

#include <QtGlobal>

namespace kopertal {

TrackingAccess trackingAccess() {
    TrackingAccess access{
        QStringLiteral(KOPERTAL_TRACKING_ENDPOINT), QStringLiteral(KOPERTAL_TRACKING_NAMESPACE),
        QStringLiteral(KOPERTAL_TRACKING_USER), QStringLiteral(KOPERTAL_TRACKING_PASSWORD)};
    const QString replaced = qEnvironmentVariable("KOPERTAL_TRACKING_ENDPOINT");
    if (!replaced.isEmpty())
        access.endpoint = replaced;
    return access;
}

HttpOptions httpOptions() {
    HttpOptions options;
    options.userAgent = "Kopertal/" KOPERTAL_VERSION;
    options.authorityFile = qEnvironmentVariable("SSL_CERT_FILE").toStdString();
    return options;
}

QString pairingPage() {
    return QStringLiteral(KOPERTAL_PAIRING_PAGE);
}

FrameTexts frameTexts() {
    return {QStringLiteral(KOPERTAL_VERSION), QStringLiteral(KOPERTAL_BUILD_NUMBER),
            QStringLiteral(KOPERTAL_WEBSITE_LABEL), QStringLiteral(KOPERTAL_WEBSITE),
            QStringLiteral(KOPERTAL_SUPPORT_EMAIL)};
}

QString updateFeed() {
    return QStringLiteral(KOPERTAL_UPDATE_FEED);
}

std::chrono::seconds updateInterval() {
    return std::chrono::seconds(KOPERTAL_UPDATE_INTERVAL);
}

} // namespace kopertal
